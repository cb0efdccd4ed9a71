#include "resources/bridge/StatusLineSnapshot.h"
#include "resources/bridge/PreviousStatusLine.h"

#include <QTest>

using StatusLineSnapshot::Json;

namespace {

constexpr double start = 1'795'376'000; // seconds since 1970
constexpr double reset = start + 10'000;

/// One run of the status line.
struct Input {
    std::string session;
    int apiMilliseconds;
    Json limits;
    double at = start; // the first input's; the next ones follow 10 s apart unless they say
};

Json window(const Json& used, const Json& resetsAt = reset)
{
    return {{"used_percentage", used}, {"resets_at", resetsAt}};
}

Json fiveHour(const Json& used, const Json& resetsAt = reset)
{
    return {{"five_hour", window(used, resetsAt)}};
}

Json message(const Input& input)
{
    Json cost{{"total_api_duration_ms", input.apiMilliseconds}};
    return {{"session_id", input.session}, {"cost", cost}, {"rate_limits", input.limits}};
}

Json merged(const QList<Input>& inputs, Json snapshot = {})
{
    double now = start - 10;
    for (const Input& input : inputs) {
        now = input.at > start ? input.at : now + 10;
        StatusLineSnapshot::merge(snapshot, message(input), now);
    }
    return snapshot;
}

/// A stored snapshot whose five-hour window is `window`.
Json storedWindow(const Json& window)
{
    return {{"rate_limits", {{"five_hour", window}}}};
}

} // namespace

class StatusLineSnapshotTest : public QObject {
    Q_OBJECT

private slots:
    void theNewestReadingStays_data()
    {
        QTest::addColumn<QList<Input>>("inputs");
        QTest::addColumn<QString>("name");
        QTest::addColumn<double>("used");
        QTest::addColumn<double>("resetsAt");
        QTest::addColumn<double>("seenAfter"); // seconds from the first input

        const auto row = [](const char* title, const QList<Input>& inputs, double used, double seen,
                            double resetsAt = reset, const char* name = "five_hour") {
            QTest::newRow(title) << inputs << QString::fromLatin1(name) << used << resetsAt << seen;
        };
        const Json none = nullptr;
        row("idle session repeats itself",
            {{"A", 0, fiveHour(30)}, {"B", 0, fiveHour(50)}, {"A", 0, fiveHour(30)}}, 50, 10);
        row("known session has a new figure",
            {{"A", 0, fiveHour(30)}, {"B", 0, fiveHour(50)}, {"A", 900, fiveHour(52)}}, 52, 20);
        row("lower figure of a session known, other pair",
            {{"A", 5, fiveHour(30)}, {"B", 0, fiveHour(50)}, {"A", 5, fiveHour(31)}}, 31, 20);
        row("same figure, new answer",
            {{"A", 1, fiveHour(30)}, {"B", 0, fiveHour(50)}, {"A", 2, fiveHour(30)}}, 30, 20);
        row("api time starts again, then grows",
            {{"A", 9, fiveHour(30)}, {"A", 0, fiveHour(30)}, {"A", 1, fiveHour(30)}}, 30, 20);
        row("reset passed, window gone", {{"A", 0, fiveHour(60)}, {"A", 5, none, reset + 1}}, 60,
            0);
        row("next window",
            {{"A", 0, fiveHour(60)}, {"A", 0, fiveHour(3, reset + 18'000), reset + 5}}, 3, 10'005,
            reset + 18'000);
        const Json both{{"five_hour", window(60)}, {"seven_day", window(41)}};
        const Json week{{"seven_day", window(41)}};
        row("other window gone, this one idle",
            {{"A", 0, both}, {"B", 0, {{"seven_day", window(55)}}}, {"A", 0, week}}, 55, 10, reset,
            "seven_day");
        row("window comes back as it was",
            {{"A", 0, both}, {"B", 0, fiveHour(70)}, {"A", 0, week}, {"A", 0, both}}, 70, 10);
        row("known session shows another window",
            {{"A", 0, week}, {"B", 0, fiveHour(50)}, {"A", 0, both}}, 60, 20);
        row("limits reset early", {{"A", 5, fiveHour(80)}, {"A", 9, fiveHour(20)}}, 20, 10);
        row("nameless sessions are never known",
            {{"", 0, fiveHour(50)}, {"", 5, fiveHour(20)}, {"", 5, fiveHour(50)}}, 50, 20);
        row("not seen for a week",
            {{"A", 0, fiveHour(50, reset + 700'000)},
             {"A", 5, fiveHour(20, reset + 700'000), start + 604'801}},
            50, 0, reset + 700'000);
    }

    void theNewestReadingStays()
    {
        QFETCH(QList<Input>, inputs);
        QFETCH(QString, name);
        QFETCH(double, used);
        QFETCH(double, resetsAt);
        QFETCH(double, seenAfter);
        const Json snapshot = merged(inputs);
        Json expected = window(used, resetsAt);
        expected["seen_at"] = start + seenAfter;
        QVERIFY2(snapshot["rate_limits"][name.toStdString()] == expected, snapshot.dump().c_str());
    }

    void firstSightIsJudgedByContent_data()
    {
        QTest::addColumn<std::string>("stored");
        QTest::addColumn<std::string>("reading");
        QTest::addColumn<bool>("taken");
        const auto row
            = [](const char* title, const Json& stored, const Json& reading, bool taken) {
                  QTest::newRow(title) << stored.dump() << reading.dump() << taken;
              };
        const Json noReset{{"used_percentage", 50}};
        row("same reset, equal", window(50), window(50), true);
        row("same reset, lower", window(50), window(49.9), false);
        row("60 s later, lower", window(50), window(49, reset + 60), false);
        row("61 s later, lower", window(50), window(49, reset + 61), true);
        row("60 s earlier, higher", window(50), window(51, reset - 60), true);
        row("61 s earlier, higher", window(50), window(51, reset - 61), false);
        row("stored reset is now", window(50, start), window(1, start - 500), true);
        row("stored reset is ahead", window(50, start + 1), window(1, start - 500), false);
        row("no resets, equal", noReset, noReset, true);
        row("no resets, lower", noReset, {{"used_percentage", 49}}, false);
        row("stored without reset", noReset, window(1), true);
        row("input without reset", window(50), {{"used_percentage", 99}}, false);
        row("input with a text for reset", window(50), window(99, "soon"), false);
        row("nothing of use stored", {{"used_percentage", "50"}}, window(1), true);
    }

    void firstSightIsJudgedByContent()
    {
        QFETCH(std::string, stored);
        QFETCH(std::string, reading);
        QFETCH(bool, taken);
        const Json limits{{"five_hour", Json::parse(reading)}};
        const Json snapshot = merged({{"A", 0, limits}}, storedWindow(Json::parse(stored)));
        QCOMPARE(snapshot["rate_limits"]["five_hour"].contains("seen_at"), taken);
    }

    void storedBytes()
    {
        Json snapshot{{"note", {1.0, 9007199254740993}}};
        const Json limits{{"five_hour", window(28.000000000000004, 1795385352)},
                          {"seven_day", window(41, 1795778152)}};
        QVERIFY(StatusLineSnapshot::merge(snapshot, message({"A", 15400, limits}), 1795376898.25));
        QCOMPARE(snapshot.dump(),
                 R"({"note":[1.0,9007199254740993],"observed_at":1795376898.25,"rate_limits":{)"
                 R"("five_hour":{"resets_at":1795385352,"seen_at":1795376898.25,)"
                 R"("used_percentage":28.000000000000004},)"
                 R"("seven_day":{"resets_at":1795778152,"seen_at":1795376898.25,)"
                 R"("used_percentage":41}},"sessions":{"A":{"rate_limits":{)"
                 R"("five_hour":{"resets_at":1795385352,"used_percentage":28.000000000000004},)"
                 R"("seven_day":{"resets_at":1795778152,"used_percentage":41}},)"
                 R"("seen_at":1795376898.25,"total_api_duration_ms":15400}}})");
    }

    void inputsWithoutFiguresChangeNothing_data()
    {
        QTest::addColumn<std::string>("input");
        QTest::newRow("no limits") << std::string(R"({"session_id":"A"})");
        for (const std::string limits :
             {"null", "true", "[]", "{}", R"({"five_hour":50})",
              R"({"five_hour":{"used_percentage":true}})", R"({"five_hour":{"resets_at":99}})",
              R"({"five_hour":{"used_percentage":"50"}})", R"([{"used_percentage":50}])"}) {
            QTest::newRow(limits.c_str()) << R"({"session_id":"A","rate_limits":)" + limits + '}';
        }
        QTest::newRow("no object") << std::string("[1]");
    }

    void inputsWithoutFiguresChangeNothing()
    {
        QFETCH(std::string, input);
        Json snapshot = merged({{"B", 0, fiveHour(50)}});
        const Json before = snapshot;
        QVERIFY(!StatusLineSnapshot::merge(snapshot, Json::parse(input), start + 60));
        QCOMPARE(snapshot.dump(), before.dump());

        Json nothing{{"observed_at", start}};
        QVERIFY(StatusLineSnapshot::merge(nothing, Json::parse(input), start));
        QCOMPARE(nothing.dump(), R"({"rate_limits":{}})");
        QVERIFY(!StatusLineSnapshot::merge(nothing, Json::parse(input), start + 60));
    }

    void oddStoredValuesAreReplaced_data()
    {
        QTest::addColumn<std::string>("stored");
        for (const char* stored :
             {"null", "[1]", "7", R"({"rate_limits":5,"sessions":"x"})",
              R"({"sessions":{"A":5,"B":{"seen_at":"now"}},"observed_at":[]})",
              R"({"sessions":{"A":{"seen_at":1795376000,"rate_limits":)"
              R"({"five_hour":{"used_percentage":50,"resets_at":1795386000}}}}})",
              R"({"rate_limits":{"five_hour":[]},"sessions":{"A":{"rate_limits":9}}})"})
            QTest::newRow(stored) << std::string(stored);
    }

    void oddStoredValuesAreReplaced()
    {
        QFETCH(std::string, stored);
        const Json limits = fiveHour(50);
        const Json snapshot = merged({{"A", 0, limits}}, Json::parse(stored));
        QCOMPARE(snapshot.dump(), merged({{"A", 0, limits}}).dump());
    }

    void repeatedInputsChangeNothingForAnHour()
    {
        Json snapshot = merged({{"A", 7, fiveHour(50)}});
        const Json input = message({"A", 7, fiveHour(50)});
        QVERIFY(!StatusLineSnapshot::merge(snapshot, input, start + 3600));
        QVERIFY(StatusLineSnapshot::merge(snapshot, input, start + 3601));
        QCOMPARE(snapshot["sessions"]["A"]["seen_at"].get<double>(), start + 3601);
        QCOMPARE(snapshot["observed_at"].get<double>(), start); // the reading itself is no newer
    }

    void sessionsAreBounded()
    {
        QList<Input> inputs;
        for (int i = 0; i <= 500; ++i)
            inputs.append({"session " + std::to_string(i), 0, fiveHour(50)});
        inputs.append({std::string(129, 'x'), 0, fiveHour(50)});
        const Json sessions = merged(inputs)["sessions"];
        QCOMPARE(sessions.size(), 500U);
        QVERIFY(!sessions.contains("session 0"));
        QVERIFY(sessions.contains("session 1") && sessions.contains("session 500"));

        const Json later = merged({{std::string(128, 'x'), 0, fiveHour(1), start + 604'805}},
                                  {{"sessions", sessions}})["sessions"];
        QVERIFY(!later.contains("session 1") && later.contains("session 2")); // seen 10 s later
        QVERIFY(later.contains(std::string(128, 'x')));
    }

    void windowsAndNamesAreBounded()
    {
        Json limits{{std::string(64, 'a'), window(1)}, {std::string(65, 'a'), window(1)}};
        for (char name = 'b'; name <= 'z'; ++name)
            limits[std::string(1, name)] = window(1);
        const Json stored = merged({{"A", 0, limits}})["rate_limits"];
        QCOMPARE(stored.size(), 16U);
        QVERIFY(stored.contains(std::string(64, 'a')) && !stored.contains(std::string(65, 'a')));
    }

    void parseTakesShallowObjectsAlone_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<bool>("isTaken");
        const auto nested = [](std::size_t depth) {
            return R"({"a":)" + std::string(depth - 1, '[') + std::string(depth - 1, ']') + '}';
        };
        QTest::newRow("as deep as allowed") << nested(64) << true;
        QTest::newRow("too deep") << nested(65) << false;
        QTest::newRow("far too deep") << nested(100'000) << false;
        QTest::newRow("never closed") << std::string(100'000, '[') << false;
        QTest::newRow("as long as allowed") << "{}" + std::string(299'998, ' ') << true;
        QTest::newRow("too long") << "{}" + std::string(299'999, ' ') << false;
        QTest::newRow("cut") << std::string(R"({"a":1)") << false;
        QTest::newRow("array") << std::string("[]") << false;
        QTest::newRow("number out of range") << std::string(R"({"a":1e999})") << false;
        QTest::newRow("no UTF-8") << std::string("{\"a\":\"\xff\"}") << false;
    }

    void parseTakesShallowObjectsAlone()
    {
        QFETCH(std::string, text);
        QTEST(StatusLineSnapshot::parse(text, 300'000).has_value(), "isTaken");
    }

    void statusLineSaysWhatIsLeft_data()
    {
        QTest::addColumn<std::string>("limits");
        QTest::addColumn<QString>("line");
        const QString waiting = QStringLiteral("Vexlo: waiting for limits");
        const auto row = [](const char* title, const Json& limits, const QString& line) {
            QTest::newRow(title) << limits.dump() << line;
        };
        row("both", {{"seven_day", window(41)}, {"five_hour", window(23.5)}},
            QStringLiteral("5h 77% left · week 59% left"));
        row("beyond the ends", {{"seven_day", window(-5)}, {"five_hour", window(130)}},
            QStringLiteral("5h 0% left · week 100% left"));
        row("reset is now", {{"seven_day", window(41)}, {"five_hour", window(23.5, start)}},
            QStringLiteral("week 59% left"));
        row("without reset", {{"five_hour", {{"used_percentage", 10.6}}}},
            QStringLiteral("5h 89% left"));
        row("other windows only", {{"spend_limit", window(5)}}, waiting);
        row("no limits", nullptr, waiting);
    }

    void statusLineSaysWhatIsLeft()
    {
        QFETCH(std::string, limits);
        const Json snapshot{{"rate_limits", Json::parse(limits)}};
        QTEST(QString::fromStdString(StatusLineSnapshot::statusLine(snapshot, start)), "line");
    }

    void previousCommandIsNeverTheBridge_data()
    {
        QTest::addColumn<std::string>("saved");
        QTest::addColumn<bool>("isCommand");
        const auto row = [](const char* command, bool isCommand) {
            QTest::newRow(command)
                << Json{{"type", "command"}, {"command", command}}.dump() << isCommand;
        };
        row("~/.claude/line.sh --short", true);
        row("/opt/It's/Other/vexlo-claude-bridge", true);
        row("'/data/It'\\''s ours/Gridwell x/vexlo-claude-bridge'", false);
        row("\"/data/It's ours/Gridwell x/vexlo-claude-bridge\" | cut -c1-9", false);
        row("/data/It\\'s\\ ours/Gridwell\\ x/vexlo-claude-bridge", false);
        row("~/'Gridwell x'/vexlo-claude-bridge", false);
        row("python3 \"$HOME/Gridwell x/claude_bridge.py\"", false);
        row("", false);
        for (const char* saved :
             {R"({"type":"command","command":5})", R"({"type":"command"})",
              R"({"type":"text","command":"echo"})", R"({"command":"echo"})", R"(["command"])",
              R"({"type":"command","command":"echo\u0000 x"})", "{"})
            QTest::newRow(saved) << std::string(saved) << false;
    }

    void previousCommandIsNeverTheBridge()
    {
        QFETCH(std::string, saved);
        QTEST(previousCommand(saved, "/data/It's ours/Gridwell x").has_value(), "isCommand");
    }
};

QTEST_GUILESS_MAIN(StatusLineSnapshotTest)
#include "StatusLineSnapshotTest.moc"
