// Time and memory of building a submission's body: the program's way beside the plain way, which hands Qt a
// JSON value of the whole job. Usage: bench_body [MiB], 100 when left out. Exit status 1 when the bodies differ.

#include "src/cloud/protocol.h"
#include "tests/support/printjob.h"
#include "bench/support/processcost.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <utility>

namespace {

using Builder = std::function<QByteArray(const QString &, QByteArray)>;

constexpr int runs = 3;
constexpr int mebibyte = 1024 * 1024;
const QString serial = QStringLiteral("0123456789ABCDEF");

struct Figures
{
    qint64 milliseconds = 0; ///< of the fastest run
    double extraMemory = 0;  ///< MiB: highest resident memory above what was there before
    QByteArray body;
};

QByteArray plainBody(const QString &cloudSn, const QByteArray &job)
{
    const QJsonObject object{
        {CloudProtocol::Key::dsNumber, QJsonArray{cloudSn}},
        {CloudProtocol::Key::taskPersist, false},
        {CloudProtocol::Key::async, true},
        {CloudProtocol::Key::dataType, QStringLiteral("base64")},
        {CloudProtocol::Key::printData, QString::fromLatin1(job.toBase64())},
    };
    return QJsonDocument(object).toJson();
}

Figures measure(const Builder &build, const QByteArray &job)
{
    const qint64 self = QCoreApplication::applicationPid();
    Figures figures;
    for (int run = 0; run < runs; ++run) {
        figures.body.clear();
        QByteArray own(job.constData(), job.size()); // as the program's, which nobody shares
        malloc_trim(0);
        ProcessCost::resetPeak(self);
        const double before = ProcessCost::memory(self, "VmRSS");
        QElapsedTimer timer;
        timer.start();
        figures.body = build(serial, std::move(own));
        const qint64 elapsed = timer.elapsed();
        figures.milliseconds = run == 0 ? elapsed : qMin(figures.milliseconds, elapsed);
        figures.extraMemory = ProcessCost::memory(self, "VmHWM") - before;
    }
    return figures;
}

void print(const char *name, const Figures &figures, const QByteArray &job)
{
    std::printf("%-8s %6lld ms, extra memory %.2f times the job\n", name, figures.milliseconds,
                figures.extraMemory * mebibyte / job.size());
}

} // namespace

int main(int argc, char *argv[])
{
    const int mebibytes = argc > 1 ? std::atoi(argv[1]) : 100;
    if (mebibytes < 1) {
        std::fprintf(stderr, "usage: bench_body [MiB]\n");
        return 1;
    }
    const QByteArray job = jobBytes(mebibytes * mebibyte);
    const Figures own = measure(CloudProtocol::submissionBody, job);
    const Figures plain = measure(plainBody, job);
    print("program", own, job);
    print("plain", plain, job);
    std::printf("%.1f times faster\n", double(plain.milliseconds) / double(qMax<qint64>(own.milliseconds, 1)));
    return own.body == plain.body ? 0 : 1;
}
