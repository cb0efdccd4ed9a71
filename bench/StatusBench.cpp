// What telling the status takes, given thirteen snapshots in the support folder: reading them,
// making the records, writing the report.

#include "app/StatusReport.h"
#include "bench/Median.h"
#include "usage/SnapshotFiles.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 500;
constexpr int providerCount = 11; // beside Claude and Codex

void write(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
        qFatal("cannot write the sample");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QByteArray now = QByteArray::number(secondsSince1970(currentDate()), 'f', 3);
    const QByteArray reset = QByteArray::number(secondsSince1970(currentDate()) + 3600, 'f', 0);
    write(folder.filePath(u"claude-usage.json"_s),
          R"({"observed_at":)" + now
              + R"(,"rate_limits":{"five_hour":{"used_percentage":23.5,"resets_at":)" + reset
              + R"(,"seen_at":)" + now + R"(},"seven_day":{"used_percentage":41,"resets_at":)"
              + reset + R"(,"seen_at":)" + now + "}}}");
    write(folder.filePath(u"codex-usage.json"_s),
          R"({"observed_at":)" + now + R"(,"windows":{"primary":{"usedPercent":42,"resetsAt":)"
              + reset + R"(},"secondary":{"usedPercent":13,"windowDurationMins":10080,"resetsAt":)"
              + reset + "}}}");
    QList<ProviderDefinition> providers;
    for (int i = 0; i < providerCount; ++i) {
        const QString id = "provider%1"_L1.arg(QString::number(i));
        providers.append({id, id, id + "-usage.json"_L1});
        write(folder.filePath(id + "-usage.json"_L1),
              R"({"observed_at":)" + now
                  + R"(,"windows":[{"name":"5-hour","used_percent":20,"resets_at":)" + reset
                  + R"(},{"name":"Weekly","used_percent":50,"resets_at":)" + reset + "}]}");
    }

    Median reading;
    Median report;
    qsizetype length = 0;
    for (int round = 0; round < rounds; ++round) {
        QList<ServiceUsage> services;
        reading.time([&] {
            services = {claudeUsage(folder.path()), savedCodexUsage(folder.path())};
            for (const ProviderDefinition& provider : providers)
                services.append(savedSnapshotUsage(folder.path(), provider));
        });
        report.time([&] {
            length = statusReport(services, UsageDisplayMode::left, QLocale::system()).size();
        });
    }
    std::printf(
        "| reading 13 snapshots | %.3f ms |\n| the report of them (%lld characters) | %.3f ms |\n",
        reading.milliseconds(), (long long)length, report.milliseconds());
}
