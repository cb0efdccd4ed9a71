#include "platform/linux/ProcCounters.h"

#include "tests/support/TestFiles.h"

#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QByteArray deviceHeader = "Inter-|   Receive\n face |bytes\n"_ba;
const QByteArray routeHeader = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n"_ba;

/// One line of /proc/net/dev.
QByteArray counters(const QByteArray& name, int received, int sent)
{
    return ' ' + name + ':' + QByteArray::number(received) + " 1 0 0 0 0 0 0 "
        + QByteArray::number(sent) + " 1 0 0 0 0 0 0\n";
}

QByteArray route(const QByteArray& name, int metric, const QByteArray& mask = "00000000")
{
    return name + "\t00000000\t0100A8C0\t0003\t0\t0\t" + QByteArray::number(metric) + '\t' + mask
        + "\t0\n";
}

QString madeUpAddress(const QString& interface)
{
    return interface == "unplugged"_L1 ? QString() : u"address of "_s + interface;
}

} // namespace

class ProcCountersTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_root = std::make_unique<QTemporaryDir>(); }

    void ticksAreThoseOfTheFirstLine_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<quint64>("idle");
        QTest::addColumn<quint64>("total"); // 0 for nothing
        QTest::newRow("all fields, guest not twice")
            << "cpu  1 2 3 40 5 6 7 8 100 200\ncpu0 9 9 9 9\n"_ba << 45ULL << 72ULL;
        QTest::newRow("an old kernel's four") << "cpu 1 2 3 40\n"_ba << 40ULL << 46ULL;
        QTest::newRow("a field is missing") << "cpu 1 2 3\n"_ba << 0ULL << 0ULL;
        QTest::newRow("no number") << "cpu 1 2 x 40\n"_ba << 0ULL << 0ULL;
        QTest::newRow("another line") << "cpu0 1 2 3 40\n"_ba << 0ULL << 0ULL;
        QTest::newRow("empty") << ""_ba << 0ULL << 0ULL;
    }

    void ticksAreThoseOfTheFirstLine()
    {
        QFETCH(QByteArray, text);
        put("proc/stat", text);
        const ProcessorTicks ticks = reading().processor.value_or(ProcessorTicks());
        QTEST(ticks.idle, "idle");
        QTEST(ticks.total, "total");
    }

    void memoryIsInBytes()
    {
        put("proc/meminfo", "MemTotal: 4 kB\nMemFree: 1 kB\nMemAvailable:  3 kB\n");
        QCOMPARE(reading().memory, (Capacity{.available = 3072, .total = 4096}));
        put("proc/meminfo", "MemTotal: 4 kB\nMemAvailable:\n");
        QVERIFY(!reading().memory);
    }

    void diskIsTheRootsOwn()
    {
        const QStorageInfo disk(m_root->path());
        const qint64 used = disk.bytesTotal() - disk.bytesFree();
        const Capacity read = *reading().disk;
        QVERIFY(std::abs(qint64(read.total - read.available) - used) < 1 << 24); // others write too
        QVERIFY(std::abs(qint64(read.available) - disk.bytesAvailable()) < 1 << 24);
        QVERIFY(read.total < quint64(disk.bytesTotal())
                || disk.bytesFree() == disk.bytesAvailable());
        QVERIFY(!ProcCounters(u"/nowhere at all"_s).read().disk);
    }

    void onlyRealInterfacesCount()
    {
        put("proc/net/dev",
            deviceHeader + counters("lo", 5, 5) + counters("docker0", 6, 6) + counters("eth0", 1, 2)
                + counters("wlan0", 3, 4) + counters("down", 7, 7) + "unplugged: 8\n"
                + counters("br0", 9, 9));
        put("proc/net/route",
            routeHeader + route("br0", 100) + route("wlan0", 600) + route("tun0", 0, "00000080"));
        addInterface(u"lo"_s, 0x9);
        addInterface(u"docker0"_s, 0x1003, false);
        addInterface(u"eth0"_s, 0x1003);
        addInterface(u"wlan0"_s, 0x1003);
        addInterface(u"down"_s, 0x1002);
        addInterface(u"unplugged"_s, 0x1003);
        addInterface(u"br0"_s, 0x1003, false);
        const QList<NetworkInterface> expected{
            {u"eth0"_s, u"address of eth0"_s, false, false, TransferredBytes{1, 2}},
            {u"wlan0"_s, u"address of wlan0"_s, false, false, TransferredBytes{3, 4}},
            {u"unplugged"_s, QString(), false, false, std::nullopt},
            {u"br0"_s, u"address of br0"_s, true, true, TransferredBytes{9, 9}},
        };
        QCOMPARE(reading().network, expected);
    }

    void containerCountsItsDefaultRoute()
    {
        QVERIFY(!reading().network);
        put("proc/net/dev", deviceHeader + counters("veth", 1, 2));
        put("proc/net/route", routeHeader + route("veth", 0));
        addInterface(u"veth"_s, 0x1003, false);
        QCOMPARE(reading().network->first().bytes, (TransferredBytes{1, 2}));
    }

    void kernelTellsTheAddress()
    {
        QCOMPARE(interfaceAddress(u"lo"_s), u"127.0.0.1"_s);
        QCOMPARE(interfaceAddress(u"no such interface at all"_s), QString());
    }

    void batteriesOfTheMachineShareAUnit()
    {
        QVERIFY(reading().batteries.isEmpty());
        addSupply(u"AC"_s, {{u"type"_s, "Mains"}});
        addSupply(u"hid-mouse"_s,
                  {{u"type"_s, "Battery"}, {u"scope"_s, "Device"}, {u"capacity"_s, "9"}});
        addSupply(u"BAT0"_s,
                  {{u"type"_s, "Battery"},
                   {u"scope"_s, "System"},
                   {u"energy_now"_s, "30"},
                   {u"energy_full"_s, "40"},
                   {u"capacity"_s, "75"},
                   {u"temp"_s, "299"}});
        QCOMPARE(reading().batteries, (QList<Battery>{{30, 40, 3030.5}}));

        addSupply(u"BAT1"_s, {{u"type"_s, "Battery"}, {u"capacity"_s, "50"}});
        QCOMPARE(reading().batteries, (QList<Battery>{{75, 100, 3030.5}, {50, 100, {}}}));

        addSupply(u"BAT1"_s, {{u"energy_now"_s, "10"}, {u"energy_full"_s, "0"}}); // an empty bay
        QFile::remove(m_root->filePath(u"sys/class/power_supply/BAT1/capacity"_s));
        QCOMPARE(reading().batteries, (QList<Battery>{{30, 40, 3030.5}, {0, 0, {}}}));
        addSupply(u"BAT0"_s, {{u"energy_now"_s, "41"}});
        QCOMPARE(reading().batteries.first().charge, 40); // no more than full
    }

private:
    void put(const char* path, const QByteArray& text)
    {
        writeFile(m_root->filePath(QString::fromLatin1(path)), text);
    }

    void addInterface(const QString& name, int flags, bool hasDevice = true)
    {
        const QString folder = m_root->filePath(u"sys/class/net/"_s + name);
        writeFile(folder + u"/flags"_s, "0x" + QByteArray::number(flags, 16) + '\n');
        if (hasDevice)
            QDir(folder).mkdir(u"device"_s);
    }

    void addSupply(const QString& name, const QHash<QString, QByteArray>& files)
    {
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            writeFile(m_root->filePath(u"sys/class/power_supply/%1/%2"_s.arg(name, file.key())),
                      file.value() + '\n');
    }

    [[nodiscard]] SystemReading reading() const
    {
        return ProcCounters(m_root->path(), madeUpAddress).read();
    }

    std::unique_ptr<QTemporaryDir> m_root;
};

QTEST_GUILESS_MAIN(ProcCountersTest)
#include "ProcCountersTest.moc"
