// Time and memory of building a submission's body: the program's way beside the plain way, which hands the framework a
// JSON value of the whole job. Usage: bench_body [MiB], 100 when left out. Exit status 1 when the bodies differ.

#include "cloud/protocol.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <malloc.h>

namespace {

using Builder = std::function<QByteArray(const QString &, const QByteArray &)>;

constexpr int runs = 3;
const QString serial = QStringLiteral("0123456789ABCDEF");

struct Figures
{
    qint64 milliseconds = 0;   ///< of the fastest run
    qint64 extraKilobytes = 0; ///< highest resident memory above what was there before
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

/// A figure of this process in kilobytes.
qint64 statusFigure(const QByteArray &key)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = file.readAll();
    const int from = text.indexOf(key) + key.size();
    return text.mid(from, text.indexOf("kB", from) - from).trimmed().toLongLong();
}

/// Makes the kernel forget the highest mark that the process has reached so far.
void resetPeak()
{
    malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

Figures measure(const Builder &build, const QByteArray &job)
{
    Figures figures;
    for (int run = 0; run < runs; ++run) {
        figures.body.clear();
        resetPeak();
        const qint64 before = statusFigure("VmRSS:");
        QElapsedTimer timer;
        timer.start();
        figures.body = build(serial, job);
        const qint64 elapsed = timer.elapsed();
        figures.milliseconds = run == 0 ? elapsed : qMin(figures.milliseconds, elapsed);
        figures.extraKilobytes = statusFigure("VmHWM:") - before;
    }
    return figures;
}

void print(const char *name, const Figures &figures, const QByteArray &job)
{
    std::printf("%-8s %6lld ms, extra memory %.2f times the job\n", name, figures.milliseconds,
                double(figures.extraKilobytes) * 1024 / job.size());
}

QByteArray randomJob(int size)
{
    QByteArray job(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char &byte : job) {
        state = state * 1664525 + 1013904223;
        byte = char(state >> 24);
    }
    return job;
}

} // namespace

int main(int argc, char *argv[])
{
    const int mebibytes = argc > 1 ? std::atoi(argv[1]) : 100;
    if (mebibytes < 1) {
        std::fprintf(stderr, "usage: bench_body [MiB]\n");
        return 1;
    }
    const QByteArray job = randomJob(mebibytes * 1024 * 1024);
    const Figures own = measure(CloudProtocol::submissionBody, job);
    const Figures plain = measure(plainBody, job);
    print("program", own, job);
    print("plain", plain, job);
    std::printf("%.1f times faster\n", double(plain.milliseconds) / double(qMax<qint64>(own.milliseconds, 1)));
    return own.body == plain.body ? 0 : 1;
}
