// fuzz_NAME FOLDER: runs the fuzz target on every file of the folder, where there is no libFuzzer.

#include "tests/fuzz/support.h"

#include <QDirIterator>

#include <cstdio>

// There is no search for leaks that could be switched off.
extern "C" void __lsan_disable() {}
extern "C" void __lsan_enable() {}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char *argv[])
{
    int count = 0;
    for (QDirIterator files(argc == 2 ? argv[1] : "", QDir::Files); files.hasNext(); ++count) {
        QFile file(files.next());
        require(file.open(QIODevice::ReadOnly), "the input can be read");
        const QByteArray input = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.constData()), std::size_t(input.size()));
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
