#include "resources/bridge/StatusLineSnapshot.h"
#include "resources/bridge/PreviousStatusLine.h"

#include <QTest>

using namespace Qt::StringLiterals;
using StatusLineSnapshot::Json;

namespace {

constexpr double start = 1'795'376'000; // seconds since 1970
constexpr double reset = start + 10'000;

/// "30" is 30 % used until `reset`, "30@60" until 60 s later, "30@-" without a reset; "-" is none.
Json window(const QString& text)
{
    const QStringList parts = text.split(u'@');
    if (parts[0] == u"-")
        return nullptr;
    const QString later = parts.value(1);
    return {{"used_percentage", parts[0].toDouble()},
            {"resets_at", later == u"-" ? Json() : Json(reset + later.toDouble())}};
}

Json message(const std::string& session, int apiMilliseconds, const Json& limits)
{
    return {{"session_id", session},
            {"cost", {{"total_api_duration_ms", apiMilliseconds}}},
            {"rate_limits", limits}};
}

/// Merges runs of the status line: "session api five_hour seven_day time; …". A run is 10 s after
/// the one before unless it names its time, in seconds after the first; "_" is a nameless session.
Json merged(const QString& runs, Json snapshot = {})
{
    double now = start - 10;
    for (const QString& run : runs.split(u"; "_s)) {
        const QStringList words = run.split(u' ');
        now = words.size() > 4 ? start + words[4].toDouble() : now + 10;
        const Json limits{{"five_hour", window(words[2])},
                          {"seven_day", window(words.value(3, u"-"_s))}};
        const std::string session = words[0] == u"_" ? "" : words[0].toStdString();
        StatusLineSnapshot::merge(snapshot, message(session, words[1].toInt(), limits), now);
    }
    return snapshot;
}

} // namespace

class StatusLineSnapshotTest : public QObject {
    Q_OBJECT

private slots:
    void whatOtherReadersTakeIsRead_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("value");
        const auto row = [](const char* title, const QByteArray& text, const QByteArray& value) {
            QTest::newRow(title) << R"({"a":)" + text + '}' << R"({"a":)" + value + '}';
        };
        row("first half alone", R"("x\ud83d")", "\"x\xEF\xBF\xBD\"");
        row("second half alone", R"("\uDC19y")", "\"\xEF\xBF\xBDy\"");
        row("halves in the wrong order", R"("\uDC19\uD83D")", "\"\xEF\xBF\xBD\xEF\xBF\xBD\"");
        row("both, and one more", R"("\ud83d\udc19\ud83d")", "\"\xF0\x9F\x90\x99\xEF\xBF\xBD\"");
        row("not an escape", R"(["\\ud83d", 1e400])", R"(["\\ud83d",null])");
        row("too large", R"([1e400, -1E+999, 1e-400, 1e308])", "[null,null,0.0,1e+308]");
        row("a text", R"(["1e400", 1e400])", R"(["1e400",null])");
    }

    void whatOtherReadersTakeIsRead()
    {
        QFETCH(QByteArray, text);
        const auto value = StatusLineSnapshot::parse(text.toStdString(), 1000);
        QVERIFY(value);
        QTEST(QByteArray::fromStdString(value->dump()), "value");
    }

    void theNewestReadingStays_data()
    {
        QTest::addColumn<QString>("runs");
        QTest::addColumn<QString>("stored"); // window, figure, when it was seen
        const auto row = [](const char* title, const char* runs, const char* stored) {
            QTest::newRow(title) << QString::fromLatin1(runs) << QString::fromLatin1(stored);
        };
        row("idle session repeats itself", "A 0 30; B 0 50; A 0 30", "five_hour 50 10");
        row("new figure of a known session", "A 0 30; B 0 50; A 900 52", "five_hour 52 20");
        row("lower, but another pair", "A 5 30; B 0 50; A 5 31", "five_hour 31 20");
        row("same figure, new answer", "A 1 30; B 0 50; A 2 30", "five_hour 30 20");
        row("api time starts again, then grows", "A 9 30; A 0 30; A 1 30", "five_hour 30 20");
        row("reset passed, window gone", "A 0 60; A 5 - - 10001", "five_hour 60 0");
        row("next window", "A 0 60; A 0 3@18000 - 10005", "five_hour 3@18000 10005");
        row("this window idle", "A 0 60 41; B 0 - 55; A 0 - 41", "seven_day 55 10");
        row("comes back as it was", "A 0 60 41; B 0 70; A 0 - 41; A 0 60 41", "five_hour 70 10");
        row("known session's new window", "A 0 - 41; B 0 50; A 0 60 41", "five_hour 60 20");
        row("limits reset early", "A 5 80; A 9 20", "five_hour 20 10");
        row("nameless is never known", "_ 0 50; _ 5 20; _ 5 50", "five_hour 50 20");
        row("not seen for a week", "A 0 50@700000; A 5 20@700000 - 604801",
            "five_hour 50@700000 0");
        // A session seen for the first time is judged by what it says.
        row("same reset, equal", "A 0 50; B 0 50", "five_hour 50 10");
        row("same reset, lower", "A 0 50; B 0 49.9", "five_hour 50 0");
        row("60 s later, lower", "A 0 50; B 0 49@60", "five_hour 50 0");
        row("61 s later, lower", "A 0 50; B 0 49@61", "five_hour 49@61 10");
        row("60 s earlier, higher", "A 0 50; B 0 51@-60", "five_hour 51@-60 10");
        row("61 s earlier, higher", "A 0 50; B 0 51@-61", "five_hour 50 0");
        row("stored reset is now", "A 0 50@-9990; B 0 1@-10500", "five_hour 1@-10500 10");
        row("stored reset is ahead", "A 0 50@-9989; B 0 1@-10500", "five_hour 50@-9989 0");
        row("no resets, equal", "A 0 50@-; B 0 50@-", "five_hour 50@- 10");
        row("no resets, lower", "A 0 50@-; B 0 49@-", "five_hour 50@- 0");
        row("stored without reset", "A 0 50@-; B 0 1", "five_hour 1 10");
        row("input without reset", "A 0 50; B 0 99@-", "five_hour 50 0");
    }

    void theNewestReadingStays()
    {
        QFETCH(QString, runs);
        QFETCH(QString, stored);
        const QStringList words = stored.split(u' ');
        Json expected = window(words[1]);
        if (expected["resets_at"].is_null())
            expected.erase("resets_at");
        expected["seen_at"] = start + words[2].toDouble();
        const Json snapshot = merged(runs);
        QVERIFY2(snapshot["rate_limits"][words[0].toStdString()] == expected,
                 snapshot.dump().c_str());
    }

    void storedBytes()
    {
        const Json limits = Json::parse(R"({
            "five_hour": {"used_percentage": 28.000000000000004, "resets_at": 1795385352},
            "seven_day": {"used_percentage": 41, "resets_at": 1795778152}})");
        Json snapshot{{"note", {1.0, 9007199254740993}}};
        QVERIFY(StatusLineSnapshot::merge(snapshot, message("A", 15400, limits), 1795376898.25));
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

    void inputsWithoutFiguresChangeNothing()
    {
        for (const char* limits :
             {"null", "true", "[]", "{}", R"({"five_hour":50})", R"([{"used_percentage":50}])",
              R"({"five_hour":{"used_percentage":true}})", R"({"five_hour":{"resets_at":99}})",
              R"({"five_hour":{"used_percentage":"50"}})"}) {
            for (const Json& input : {message("A", 5, Json::parse(limits)), Json::array({1})}) {
                Json snapshot = merged(u"B 0 50"_s);
                QVERIFY2(!StatusLineSnapshot::merge(snapshot, input, start + 60), limits);
                QCOMPARE(snapshot.dump(), merged(u"B 0 50"_s).dump());
                Json nothing{{"observed_at", start}};
                QVERIFY2(StatusLineSnapshot::merge(nothing, input, start), limits);
                QCOMPARE(nothing.dump(), R"({"rate_limits":{}})");
                QVERIFY2(!StatusLineSnapshot::merge(nothing, input, start + 60), limits);
            }
        }
    }

    void oddStoredValuesAreReplaced()
    {
        for (const char* stored :
             {"null", "[1]", "7", R"({"rate_limits":5,"sessions":"x"})",
              R"({"sessions":{"A":5,"B":{"seen_at":"now"}},"observed_at":[]})",
              R"({"rate_limits":{"five_hour":{"used_percentage":"60","resets_at":1e12}}})",
              R"({"sessions":{"A":{"seen_at":1795376000,"rate_limits":)"
              R"({"five_hour":{"used_percentage":50,"resets_at":1795386000}}}}})",
              R"({"rate_limits":{"five_hour":[]},"sessions":{"A":{"rate_limits":9}}})"})
            QVERIFY2(merged(u"A 0 50"_s, Json::parse(stored)) == merged(u"A 0 50"_s), stored);
    }

    void repeatedInputsChangeNothingForAnHour()
    {
        Json snapshot = merged(u"A 7 50"_s);
        const Json input = message("A", 7, {{"five_hour", window(u"50"_s)}});
        QVERIFY(!StatusLineSnapshot::merge(snapshot, input, start + 3600));
        QVERIFY(StatusLineSnapshot::merge(snapshot, input, start + 3601));
        QCOMPARE(snapshot["sessions"]["A"]["seen_at"].get<double>(), start + 3601);
        QCOMPARE(snapshot["observed_at"].get<double>(), start); // the reading itself is no newer
    }

    void whatIsStoredIsBounded()
    {
        Json snapshot;
        for (int i = 0; i <= 500; ++i)
            snapshot = merged(u"s%1 0 50 - %2"_s.arg(i).arg(i), snapshot);
        snapshot = merged(QString(129, u'x') + u" 0 50 - 501"_s, snapshot);
        QCOMPARE(snapshot["sessions"].size(), 500U);
        QVERIFY(!snapshot["sessions"].contains("s0") && snapshot["sessions"].contains("s1"));
        const QString longest(128, u'x');
        const Json later = merged(longest + u" 0 1 - 604802"_s, snapshot)["sessions"];
        QVERIFY(!later.contains("s1") && later.contains("s2")); // a week and a second ago
        QVERIFY(later.contains(longest.toStdString()));

        Json limits{{std::string(64, 'a'), window(u"1"_s)}, {std::string(65, 'a'), window(u"1"_s)}};
        for (char name = 'b'; name <= 'z'; ++name)
            limits[std::string(1, name)] = window(u"1"_s);
        Json wide;
        StatusLineSnapshot::merge(wide, message("A", 0, limits), start);
        QCOMPARE(wide["rate_limits"].size(), 16U);
        QVERIFY(wide["rate_limits"].contains(std::string(64, 'a')));
        QVERIFY(!wide["rate_limits"].contains(std::string(65, 'a')));
    }

    void parseTakesShallowObjectsAlone()
    {
        const auto isTaken = [](const std::string& text) {
            return StatusLineSnapshot::parse(text, 300'000).has_value();
        };
        const auto nested = [](std::size_t depth) {
            return R"({"a":)" + std::string(depth - 1, '[') + std::string(depth - 1, ']') + '}';
        };
        QVERIFY(isTaken(nested(64)));
        QVERIFY(isTaken("{}" + std::string(299'998, ' ')));
        for (const std::string& text :
             {nested(65), nested(100'000), std::string(100'000, '['),
              "{}" + std::string(299'999, ' '), std::string(R"({"a":1)"), std::string("[]"),
              std::string("{\"a\":\"\xff\"}")})
            QVERIFY2(!isTaken(text), text.substr(0, 40).c_str());
    }

    void statusLineSaysWhatIsLeft()
    {
        const auto line = [](const QString& fiveHour, const QString& week) {
            return QString::fromStdString(StatusLineSnapshot::statusLine(
                {{"rate_limits", {{"five_hour", window(fiveHour)}, {"seven_day", window(week)}}}},
                start));
        };
        QCOMPARE(line(u"23.5"_s, u"41"_s), u"5h 77% left · week 59% left"_s);
        QCOMPARE(line(u"130"_s, u"-5"_s), u"5h 0% left · week 100% left"_s);
        QCOMPARE(line(u"23.5@-10000"_s, u"41"_s), u"week 59% left"_s); // resets now
        QCOMPARE(line(u"10.6@-"_s, u"-"_s), u"5h 89% left"_s);
        QCOMPARE(line(u"-"_s, u"-"_s), u"Vexlo: waiting for limits"_s);
    }

    void previousCommandIsNeverTheBridge()
    {
        const auto isCommand = [](const std::string& saved) {
            return previousCommand(saved, "/data/It's ours/Gridwell x").has_value();
        };
        const auto saved = [](const char* command) {
            return Json{{"type", "command"}, {"command", command}}.dump();
        };
        for (const char* command :
             {"~/.claude/line.sh --short", "/opt/It's/Other/vexlo-claude-bridge"})
            QVERIFY2(isCommand(saved(command)), command);
        for (const char* command :
             {"'/data/It'\\''s ours/Gridwell x/vexlo-claude-bridge'",
              "\"/data/It's ours/Gridwell x/vexlo-claude-bridge\" | cut -c1-9",
              "/data/It\\'s\\ ours/Gridwell\\ x/vexlo-claude-bridge",
              "~/'Gridwell x'/vexlo-claude-bridge", "python3 \"$HOME/Gridwell x/claude_bridge.py\"",
              ""})
            QVERIFY2(!isCommand(saved(command)), command);
        for (const char* other :
             {R"({"type":"command","command":5})", R"({"type":"command"})", R"(["command"])", "{",
              R"({"type":"text","command":"echo"})", R"({"command":"echo"})",
              R"({"type":"command","command":"echo\u0000 x"})"})
            QVERIFY2(!isCommand(other), other);
    }
};

QTEST_GUILESS_MAIN(StatusLineSnapshotTest)
#include "StatusLineSnapshotTest.moc"
