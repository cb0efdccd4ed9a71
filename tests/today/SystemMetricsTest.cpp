#include "platform/DesktopAppearance.h"
#include "today/SystemDashboard.h"
#include "today/SystemMetricsSampler.h"
#include "today/SystemMetricsView.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr Date firstMoment{1'795'376'898s};

class MadeUpCounters final : public SystemCounters {
public:
    [[nodiscard]] SystemReading read() const override { return reading; }

    SystemReading reading;
};

NetworkInterface interface(quint64 received, quint64 sent)
{
    return {.name = u"eth0"_s, .bytes = TransferredBytes{received, sent}};
}

} // namespace

class SystemMetricsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        start = firstMoment;
        m_counters.reading = {};
        m_sampler = std::make_unique<SystemMetricsSampler>(m_counters);
    }

    void loadIsWhatWasNotIdleSinceTheSampleBefore()
    {
        const auto load = [this](quint64 idle, quint64 total) {
            m_counters.reading.processor = ProcessorTicks{idle, total};
            return m_sampler->sample(start).cpu;
        };
        QVERIFY(!m_sampler->sample(start).knowsLoad);
        QCOMPARE(load(500, 10'000), 0);
        QCOMPARE(load(1500, 14'000), 75);
        QCOMPARE(load(1500, 14'000), 0); // no tick passed
        QCOMPARE(load(1400, 14'100), 100); // the idle time went back
        QCOMPARE(load(10, 20), 0); // a processor is gone
        QCOMPARE(load(205, 220), 3); // 2.5
        m_counters.reading.processor.reset();
        QCOMPARE(m_sampler->sample(start).cpu, 0);
        QCOMPARE(load(205, 420), 100); // since the last that could be read
    }

    void memoryAndDiskAreWhatIsNotAvailable()
    {
        m_counters.reading.memory = Capacity{.available = 3, .total = 8};
        m_counters.reading.disk = Capacity{.available = 9, .total = 8};
        const SystemMetrics metrics = m_sampler->sample(start);
        QCOMPARE(metrics.memory, 63);
        QCOMPARE(metrics.memoryUsed, 5ULL);
        QCOMPARE(metrics.memoryTotal, 8ULL);
        QCOMPARE(metrics.disk, 0);
        QCOMPARE(metrics.diskTotal, 8ULL);

        m_counters.reading.memory = Capacity{.available = 3};
        m_counters.reading.disk.reset();
        QCOMPARE(m_sampler->sample(start),
                 (SystemMetrics{.knowsLoad = false, .knowsRates = false}));
    }

    void ratesAreAveragesOverTheTimeBetweenTwoSamples()
    {
        const auto sample
            = [this](std::chrono::milliseconds time, QList<NetworkInterface> network) {
                  m_counters.reading.network = std::move(network);
                  return m_sampler->sample(start + time);
              };
        QCOMPARE(sample(0ms, {interface(1000, 1000)}).downloadRate, 0ULL);
        const SystemMetrics both = sample(2s, {interface(1500, 1001), interface(2500, 2)});
        QCOMPARE(both.downloadRate, 1500ULL);
        QCOMPARE(both.uploadRate, 1ULL); // 1.5
        const SystemMetrics gone = sample(4s, {interface(1500, 2001)});
        QCOMPARE(gone.downloadRate, 0ULL);
        QCOMPARE(gone.uploadRate, 499ULL);
        QCOMPARE(sample(4050ms, {interface(1600, 2001)}).downloadRate, 1000ULL);
        m_counters.reading.network.reset();
        QCOMPARE(m_sampler->sample(start + 5s).downloadRate, 0ULL);
        QCOMPARE(sample(6050ms, {interface(1800, 2001)}).downloadRate, 100ULL);
        QCOMPARE(sample(1s, {interface(1900, 2001)}).downloadRate, 1000ULL); // the clock went back
    }

    void whatATunnelCarriesCountsOnceAndAModemsLineToo()
    {
        NetworkInterface line = interface(100, 10);
        line.isVirtual = true;
        const auto rates = [&](quint64 device, quint64 carried) {
            line.bytes = TransferredBytes{carried, 10};
            m_counters.reading.network = {interface(device, 10), line};
            return m_sampler->sample(start += 1s);
        };
        QVERIFY(!rates(1000, 100).knowsRates);
        QCOMPARE(rates(2000, 1000).downloadRate, 1000ULL); // through the tunnel and the device
        QCOMPARE(rates(2000, 1600).downloadRate, 600ULL); // beside an idle device
    }

    void firstFiguresAreNoZeros()
    {
        SystemMetricsView view;
        view.setMetrics(m_sampler->sample(start));
        QVERIFY(view.accessibleDescription().contains(u"Processor load —"_s));
        QVERIFY(!view.accessibleDescription().contains(u"0B/s"_s));
        QVERIFY(view.downloadHistory().isEmpty());
    }

    void addressIsTheDefaultRoutes()
    {
        const NetworkInterface none{.name = u"usb0"_s};
        const NetworkInterface wire{.name = u"eth0"_s, .address = u"10.0.0.2"_s};
        NetworkInterface radio{.name = u"wlan0"_s, .address = u"192.168.1.23"_s};
        const auto address = [this](const QList<NetworkInterface>& network) {
            m_counters.reading.network = network;
            return m_sampler->sample(start).localIP;
        };
        QCOMPARE(address({none}), std::nullopt);
        QCOMPARE(address({none, wire, radio}), u"10.0.0.2"_s);
        radio.isDefaultRoute = true;
        QCOMPARE(address({none, wire, radio}), u"192.168.1.23"_s);
        QCOMPARE(address({radio, wire, none}), u"192.168.1.23"_s);
    }

    void packsAreOneBattery()
    {
        QCOMPARE(m_sampler->sample(start).battery, std::nullopt);
        m_counters.reading.batteries = {{0, 0, {}}};
        QCOMPARE(m_sampler->sample(start).battery, std::nullopt);
        m_counters.reading.batteries = {{90, 100, {}}, {0, 0, {}}, {110, 300, 3031}};
        QCOMPARE(m_sampler->sample(start).battery, 50);
        QCOMPARE(m_sampler->sample(start).temperature, 29.95);
    }

    void temperatureIsPlausibleOrAbsent_data()
    {
        QTest::addColumn<double>("raw");
        QTest::addColumn<QString>("state");
        const double zero = 2731.5;
        QTest::newRow("0 kelvin") << 0.0 << u"Unavailable"_s;
        QTest::newRow("below -20") << zero - 201 << u"Unavailable"_s;
        QTest::newRow("-20") << zero - 200 << u"Cool"_s;
        QTest::newRow("24.9") << zero + 249 << u"Cool"_s;
        QTest::newRow("25") << zero + 250 << u"Normal"_s;
        QTest::newRow("37.9") << zero + 379 << u"Normal"_s;
        QTest::newRow("38") << zero + 380 << u"Warm"_s;
        QTest::newRow("44.9") << zero + 449 << u"Warm"_s;
        QTest::newRow("45") << zero + 450 << u"Hot"_s;
        QTest::newRow("100") << zero + 1000 << u"Hot"_s;
        QTest::newRow("above 100") << zero + 1001 << u"Unavailable"_s;
    }

    void temperatureIsPlausibleOrAbsent()
    {
        QFETCH(double, raw);
        m_counters.reading.batteries = {{1, 1, raw}};
        QTEST(dashboard(m_sampler->sample(start)).halves[1].state, "state");
    }

    void figuresHaveTheirForms()
    {
        QCOMPARE(rate(1023), u"1023B/s"_s);
        QCOMPARE(rate(1024), u"1K/s"_s);
        QCOMPARE(rate(2560), u"2K/s"_s); // as the C library rounds
        QCOMPARE(rate(1'048'575), u"1024K/s"_s);
        QCOMPARE(rate(1'572'864), u"1.5M/s"_s);
        const Dashboard shown = dashboard({.memoryUsed = 5ULL << 29, .memoryTotal = 1ULL << 34});
        QCOMPARE(shown.rows[1].detail, u"2.5 / 16.0 GB"_s);
    }

    void viewClosesUpWithoutABattery()
    {
        SystemMetricsView view;
        const int without = view.sizeHint().height();
        view.setMetrics({.cpu = 37, .battery = 82, .temperature = 31.2, .localIP = u"10.0.0.2"_s});
        QVERIFY(view.sizeHint().height() > without);
        for (const QString& part : {u"37%"_s, u"82%"_s, u"31.2 °C Normal"_s, u"10.0.0.2"_s})
            QVERIFY2(view.accessibleDescription().contains(part), qPrintable(part));
        view.setMetrics({.cpu = 37});
        QCOMPARE(view.sizeHint().height(), without);
    }

    void onlyTheLastRatesAreKept()
    {
        SystemMetricsView view;
        for (quint64 i = 1; i <= 30; ++i)
            view.setMetrics({.downloadRate = i, .uploadRate = 2 * i});
        QCOMPARE(view.downloadHistory().size(), 24);
        QCOMPARE(view.downloadHistory().first(), 7ULL);
        QCOMPARE(view.uploadHistory().last(), 60ULL);

        const QPolygonF line = graphLine({0, 5, 10}, 3, {100, 10, 40, 20});
        QCOMPARE(line, QPolygonF({{100, 30}, {120, 20}, {140, 10}}));
        QCOMPARE(graphLine({0, 0}, 3, {100, 10, 40, 20}), QPolygonF({{120, 30}, {140, 30}}));
    }

    void gaugeIsLitUpToItsLevel()
    {
        const DashboardColors colors = dashboardColors(paletteFor(ColorScheme::light), Qt::white);
        QVERIFY(contrastRatio(colors.accent, colors.palette.cardBackground) >= 3);
        const auto drawn = [&](double level) {
            QImage image(100, 10, QImage::Format_RGB32);
            image.fill(colors.palette.cardBackground);
            QPainter painter(&image);
            dashboardGauge(painter, {0, 0, 98, 8}, level, 10, MetricTone::normal, colors);
            return image;
        };
        const QImage half = drawn(0.5); // ends at 49: cells of 8 points with gaps of 2
        QCOMPARE(half.pixelColor(47, 4), colors.accent);
        QCOMPARE(half.pixelColor(48, 4), colors.palette.cardBackground);
        QVERIFY(half.pixelColor(51, 4) != colors.accent);
        QVERIFY(half.pixelColor(51, 4) != colors.palette.cardBackground);
        QCOMPARE(drawn(0.05).pixelColor(4, 4), colors.accent); // to the point, not to the cell
        QCOMPARE(drawn(0.05).pixelColor(6, 4), half.pixelColor(51, 4));
        QCOMPARE(drawn(7).pixelColor(97, 4), colors.accent);
    }

private:
    Date start;
    MadeUpCounters m_counters;
    std::unique_ptr<SystemMetricsSampler> m_sampler;
};

QTEST_MAIN(SystemMetricsTest)
#include "SystemMetricsTest.moc"
