#include "tests/fuzz/support.h"

#include <QTextCodec>

#include <cstdio>
#include <cstdlib>

void require(bool holds, const char *promise)
{
    if (holds)
        return;
    std::fprintf(stderr, "Broken promise: %s\n", promise);
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    for (const char *codePage : {"UTF-8", "GB18030"}) {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName(codePage));
        checkInput(QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size)));
    }
    return 0;
}
