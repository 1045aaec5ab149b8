#include "emulator/cloud/treatment.h"

#include "emulator/cloud/cloudservice.h"

namespace {

constexpr int slowAnswer = 5000;    // ms
constexpr int silentAnswer = 20000; // ms; longer than the client waits for an answer
constexpr int manyPolls = 8;

struct Fault
{
    const char *name;
    void (*apply)(Treatment &treatment);
};

constexpr Fault faultTable[] = {
    {"printed", [](Treatment &) {}},
    {"long-printing", [](Treatment &job) { job.pollsBeforeFinal = manyPolls; }},
    {"offline", [](Treatment &job) { job.finalStatus = QStringLiteral("离线"); }},
    {"out-of-paper", [](Treatment &job) { job.finalStatus = QStringLiteral("缺纸"); }},
    {"bare-text",
     [](Treatment &job) {
         job.finalStatus = QStringLiteral("任务已取消");
         job.bareText = true;
     }},
    {"too-large", [](Treatment &job) { job.submissionStatus = 413; }},
    {"server-error", [](Treatment &job) { job.submissionStatus = 500; }},
    {"slow", [](Treatment &job) { job.submissionDelayMs = slowAnswer; }},
    {"silent", [](Treatment &job) { job.submissionDelayMs = silentAnswer; }},
    {"cut", [](Treatment &job) { job.submissionIsCut = true; }},
    {"result-error", [](Treatment &job) { job.resultStatus = 500; }},
    {"result-cut", [](Treatment &job) { job.resultIsCut = true; }},
    {"result-invalid", [](Treatment &job) { job.resultIsInvalid = true; }},
};

} // namespace

QStringList faultNames()
{
    QStringList names;
    for (const Fault &entry : faultTable)
        names.append(QLatin1String(entry.name));
    return names;
}

Treatment treatmentFor(const CloudServiceOptions &options, const QString &fault)
{
    Treatment treatment;
    treatment.pollsBeforeFinal = options.pollsBeforeFinal;
    for (const Fault &entry : faultTable) {
        if (fault == QLatin1String(entry.name))
            entry.apply(treatment);
    }
    return treatment;
}
