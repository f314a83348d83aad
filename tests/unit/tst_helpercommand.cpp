#include "HelperBatch.h"
#include "HelperCommand.h"

#include <QTest>

#include <string>
#include <vector>

using helper::HelperBatch;
using helper::HelperCommand;
using namespace Qt::StringLiterals;

namespace {

HelperCommand::Parsed parse(const QStringList &words)
{
    std::vector<std::string> storage;
    for (const QString &word : words) {
        storage.push_back(word.toStdString());
    }
    std::vector<std::string_view> views(storage.begin(), storage.end());
    return HelperCommand::parse(views);
}

// The words after "batch".
HelperBatch::Parsed parseBatch(const QStringList &words)
{
    std::vector<std::string> storage;
    for (const QString &word : words) {
        storage.push_back(word.toStdString());
    }
    std::vector<std::string_view> views(storage.begin(), storage.end());
    return HelperBatch::parse(views);
}

} // namespace

class TestHelperCommand : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesBadInput_data()
    {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<QString>("error");
        const QString badPid = QStringLiteral("Invalid process id");
        const QString badNice = QStringLiteral("Nice value must be -10, 10 or 0");
        const QString badStart = QStringLiteral("Invalid process start time");
        const QString badTarget = QStringLiteral("Invalid network connection or interface");
        const QString badServer = QStringLiteral("Invalid DNS server address");
        QTest::newRow("nothing") << QStringList{} << QStringLiteral("No action given");
        QTest::newRow("unknown verb")
            << QStringList{QStringLiteral("reboot")} << QStringLiteral("Unknown action");
        QTest::newRow("verb in other case")
            << QStringList{QStringLiteral("RENICE"), QStringLiteral("1"), QStringLiteral("0"),
                           QStringLiteral("5")}
            << QStringLiteral("Unknown action");
        QTest::newRow("shell verb")
            << QStringList{QStringLiteral("renice; reboot")} << QStringLiteral("Unknown action");
        QTest::newRow("renice without nice")
            << QStringList{QStringLiteral("renice"), QStringLiteral("42")}
            << QStringLiteral("Usage: renice PID NICE START-TIME");
        QTest::newRow("renice without start time")
            << QStringList{QStringLiteral("renice"), QStringLiteral("42"), QStringLiteral("10")}
            << QStringLiteral("Usage: renice PID NICE START-TIME");
        QTest::newRow("renice extra word")
            << QStringList{QStringLiteral("renice"), QStringLiteral("42"), QStringLiteral("10"),
                           QStringLiteral("5"), QStringLiteral("x")}
            << QStringLiteral("Usage: renice PID NICE START-TIME");
        for (const char *pid : {"abc", "-1", "0", "+42", "42 ", " 42", "4.2", "0x10", "$(reboot)",
                                "99999999999", ""}) {
            QTest::addRow("pid %s", pid)
                << QStringList{QStringLiteral("renice"), QString::fromLatin1(pid),
                               QStringLiteral("0"), QStringLiteral("5")}
                << badPid;
        }
        // Only the values the program uses: nothing that would starve the machine or lift a
        // process above the desktop.
        for (const char *nice : {"-21", "20", "100", "--5", "+5", "5a", "", "-", "1e1", "-20", "19",
                                 "-1", "5", "-11"}) {
            QTest::addRow("nice %s", nice)
                << QStringList{QStringLiteral("renice"), QStringLiteral("42"),
                               QString::fromLatin1(nice), QStringLiteral("5")}
                << badNice;
        }
        for (const char *start :
             {"", "-1", "+5", "5a", "1.5", "184467440737095516160", "18446744073709551616", " 5"}) {
            QTest::addRow("start time %s", start)
                << QStringList{QStringLiteral("renice"), QStringLiteral("42"), QStringLiteral("10"),
                               QString::fromLatin1(start)}
                << badStart;
        }
        for (const char *target :
             {"--help", "-x", "$(reboot)", "a\"b", "x; rm -rf ~", "line\nbreak", "name with space",
              "sixteen-chars-xx", "", ".", "..", "eth0/../x", "wlan0'", "ünï"}) {
            QTest::addRow("target %s", target)
                << QStringList{QStringLiteral("set-dns"), QString::fromUtf8(target),
                               QStringLiteral("1.1.1.1")}
                << badTarget;
        }
        for (const char *server :
             {"one.one.one.one", "1.1.1", "1.1.1.1.1", "256.1.1.1", "1.1.1.1:53", "fe80::1%eth0",
              "-1.1.1.1", "1.1.1.1 8.8.8.8", "", "$(reboot)"}) {
            QTest::addRow("server %s", server)
                << QStringList{QStringLiteral("set-dns"), QStringLiteral("eth0"),
                               QString::fromLatin1(server)}
                << badServer;
        }
        QTest::newRow("set-dns without servers")
            << QStringList{QStringLiteral("set-dns"), QStringLiteral("eth0")}
            << QStringLiteral("Usage: set-dns TARGET SERVER...");
        QTest::newRow("set-dns five servers")
            << QStringList{QStringLiteral("set-dns"), QStringLiteral("eth0"),
                           QStringLiteral("1.1.1.1"), QStringLiteral("1.0.0.1"),
                           QStringLiteral("8.8.8.8"), QStringLiteral("8.8.4.4"),
                           QStringLiteral("9.9.9.9")}
            << QStringLiteral("Usage: set-dns TARGET SERVER...");
        QTest::newRow("flush with argument")
            << QStringList{QStringLiteral("flush-dns"), QStringLiteral("--all")}
            << QStringLiteral("This action takes no arguments");
        QTest::newRow("restore-dns without target") << QStringList{QStringLiteral("restore-dns")}
                                                    << QStringLiteral("Usage: restore-dns TARGET");
        QTest::newRow("restore-dns with servers")
            << QStringList{QStringLiteral("restore-dns"), QStringLiteral("eth0"),
                           QStringLiteral("1.1.1.1")}
            << QStringLiteral("Usage: restore-dns TARGET");
        QTest::newRow("restore-dns option")
            << QStringList{QStringLiteral("restore-dns"), QStringLiteral("--help")} << badTarget;
        QTest::newRow("autogroup without start time")
            << QStringList{u"autogroup"_s, u"42"_s, u"-10"_s}
            << u"Usage: autogroup PID NICE START-TIME"_s;
        QTest::newRow("autogroup nice below -20")
            << QStringList{u"autogroup"_s, u"42"_s, u"-21"_s, u"7"_s}
            << u"Nice value must be between -20 and 19"_s;
        QTest::newRow("autogroup nice above 19")
            << QStringList{u"autogroup"_s, u"42"_s, u"20"_s, u"7"_s}
            << u"Nice value must be between -20 and 19"_s;
        QTest::newRow("autogroup nice with plus")
            << QStringList{u"autogroup"_s, u"42"_s, u"+5"_s, u"7"_s}
            << u"Nice value must be between -20 and 19"_s;
        QTest::newRow("autogroup nice lone minus")
            << QStringList{u"autogroup"_s, u"42"_s, u"-"_s, u"7"_s}
            << u"Nice value must be between -20 and 19"_s;
        QTest::newRow("autogroup nice three digits")
            << QStringList{u"autogroup"_s, u"42"_s, u"-010"_s, u"7"_s}
            << u"Nice value must be between -20 and 19"_s;
        QTest::newRow("autogroup pid with sign")
            << QStringList{u"autogroup"_s, u"-42"_s, u"5"_s, u"7"_s} << u"Invalid process id"_s;
        QTest::newRow("autogroup pid not digits")
            << QStringList{u"autogroup"_s, u"42 "_s, u"5"_s, u"7"_s} << u"Invalid process id"_s;
        QTest::newRow("autogroup pid zero")
            << QStringList{u"autogroup"_s, u"0"_s, u"5"_s, u"7"_s} << u"Invalid process id"_s;
        QTest::newRow("autogroup start time not digits")
            << QStringList{u"autogroup"_s, u"42"_s, u"5"_s, u"0x7"_s}
            << u"Invalid process start time"_s;
        QTest::newRow("drop with argument")
            << QStringList{QStringLiteral("drop-caches"), QStringLiteral("3")}
            << QStringLiteral("This action takes no arguments");
    }

    void refusesBadInput()
    {
        QFETCH(QStringList, words);
        QFETCH(QString, error);
        const HelperCommand::Parsed parsed = parse(words);
        QVERIFY(!parsed.command);
        QCOMPARE(QString::fromStdString(parsed.error), error);
        // One line for the user, whatever came in.
        QVERIFY(!parsed.error.empty());
        QVERIFY(parsed.error.find('\n') == std::string::npos);
    }

    void acceptsRenice_data()
    {
        QTest::addColumn<QString>("pid");
        QTest::addColumn<QString>("nice");
        QTest::addColumn<int>("expectedPid");
        QTest::addColumn<int>("expectedNice");
        QTest::newRow("boost") << QStringLiteral("4242") << QStringLiteral("-10") << 4242 << -10;
        QTest::newRow("throttle") << QStringLiteral("1") << QStringLiteral("10") << 1 << 10;
        QTest::newRow("restore") << QStringLiteral("4194304") << QStringLiteral("0") << 4194304
                                 << 0;
    }

    void acceptsRenice()
    {
        QFETCH(QString, pid);
        QFETCH(QString, nice);
        QFETCH(int, expectedPid);
        QFETCH(int, expectedNice);
        const HelperCommand::Parsed parsed =
            parse({QStringLiteral("renice"), pid, nice, QStringLiteral("18446744073709551615")});
        QVERIFY2(parsed.command, parsed.error.c_str());
        QCOMPARE(parsed.command->verb, HelperCommand::Verb::Renice);
        QCOMPARE(parsed.command->pid, expectedPid);
        QCOMPARE(parsed.command->nice, expectedNice);
        QCOMPARE(parsed.command->startTime, 18446744073709551615ULL);
    }

    void acceptsAutogroup_data()
    {
        QTest::addColumn<QString>("nice");
        QTest::addColumn<int>("expected");
        QTest::newRow("lowest") << u"-20"_s << -20;
        QTest::newRow("raised") << u"-10"_s << -10;
        QTest::newRow("restored") << u"0"_s << 0;
        QTest::newRow("any other") << u"3"_s << 3;
        QTest::newRow("highest") << u"19"_s << 19;
    }

    void acceptsAutogroup()
    {
        QFETCH(QString, nice);
        QFETCH(int, expected);
        const HelperCommand::Parsed parsed = parse({u"autogroup"_s, u"4242"_s, nice, u"9001"_s});
        QVERIFY2(parsed.command, parsed.error.c_str());
        QCOMPARE(parsed.command->verb, HelperCommand::Verb::Autogroup);
        QCOMPARE(parsed.command->pid, 4242);
        QCOMPARE(parsed.command->nice, expected);
        QCOMPARE(parsed.command->startTime, 9001ULL);
    }

    void acceptsSetDns_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QStringList>("servers");
        QTest::newRow("uuid") << QStringLiteral("7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f")
                              << QStringList{QStringLiteral("8.8.8.8"), QStringLiteral("8.8.4.4")};
        QTest::newRow("upper-case uuid") << QStringLiteral("7D1E8C2A-5F4B-4E3A-8C9D-1A2B3C4D5E6F")
                                         << QStringList{QStringLiteral("1.1.1.1")};
        QTest::newRow("interface")
            << QStringLiteral("wlp2s0")
            << QStringList{QStringLiteral("1.1.1.1"), QStringLiteral("1.0.0.1")};
        QTest::newRow("interface with dots and colon")
            << QStringLiteral("eth0.100:1") << QStringList{QStringLiteral("9.9.9.9")};
        QTest::newRow("fifteen characters")
            << QStringLiteral("enx001122334455") << QStringList{QStringLiteral("1.1.1.1")};
        QTest::newRow("the fallback name")
            << QStringLiteral("Wi-Fi") << QStringList{QStringLiteral("1.1.1.1")};
        QTest::newRow("ipv6") << QStringLiteral("eth0")
                              << QStringList{QStringLiteral("2606:4700:4700::1111"),
                                             QStringLiteral("1.1.1.1")};
    }

    void acceptsSetDns()
    {
        QFETCH(QString, target);
        QFETCH(QStringList, servers);
        const HelperCommand::Parsed parsed =
            parse(QStringList{QStringLiteral("set-dns"), target} + servers);
        QVERIFY2(parsed.command, parsed.error.c_str());
        QCOMPARE(parsed.command->verb, HelperCommand::Verb::SetDns);
        QCOMPARE(QString::fromStdString(parsed.command->target), target);
        QCOMPARE(int(parsed.command->servers.size()), servers.size());
        for (qsizetype i = 0; i < servers.size(); ++i) {
            QCOMPARE(QString::fromStdString(parsed.command->servers[std::size_t(i)]), servers[i]);
        }
    }

    void acceptsArgumentFreeVerbs()
    {
        const auto flush = parse({QStringLiteral("flush-dns")});
        QVERIFY(flush.command);
        QCOMPARE(flush.command->verb, HelperCommand::Verb::FlushDns);
        const auto restore = parse({QStringLiteral("restore-dns"),
                                    QStringLiteral("7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f")});
        QVERIFY(restore.command);
        QCOMPARE(restore.command->verb, HelperCommand::Verb::RestoreDns);
        QCOMPARE(restore.command->target, std::string("7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f"));
        const auto drop = parse({QStringLiteral("drop-caches")});
        QVERIFY(drop.command);
        QCOMPARE(drop.command->verb, HelperCommand::Verb::DropCaches);
    }

    void batchReadsEveryStepInOrder()
    {
        const HelperBatch::Parsed parsed =
            parseBatch({u"renice"_s, u"4242"_s, u"-10"_s, u"9001"_s, u";"_s, u"renice"_s, u"77"_s,
                        u"10"_s, u"12"_s, u";"_s, u"autogroup"_s, u"4242"_s, u"-10"_s, u"9001"_s,
                        u";"_s, u"drop-caches"_s});
        QVERIFY2(parsed.batch, parsed.error.c_str());
        const std::vector<HelperBatch::Step> &steps = parsed.batch->steps;
        QCOMPARE(steps.size(), std::size_t(4));
        QCOMPARE(steps[0].command.verb, HelperCommand::Verb::Renice);
        QCOMPARE(steps[0].command.pid, 4242);
        QCOMPARE(steps[0].command.nice, -10);
        QCOMPARE(steps[0].command.startTime, 9001ULL);
        QCOMPARE(steps[1].command.verb, HelperCommand::Verb::Renice);
        QCOMPARE(steps[1].command.pid, 77);
        QCOMPARE(steps[1].command.nice, 10);
        QCOMPARE(steps[2].command.verb, HelperCommand::Verb::Autogroup);
        QCOMPARE(steps[3].command.verb, HelperCommand::Verb::DropCaches);
        for (const HelperBatch::Step &step : steps) {
            QVERIFY(!step.onlyAfterSuccess);
        }
    }

    void batchStepAfterAndRunsOnlyOnSuccess()
    {
        const HelperBatch::Parsed parsed = parseBatch(
            {u"set-dns"_s, u"wlp2s0"_s, u"1.1.1.1"_s, u"1.0.0.1"_s, u"&&"_s, u"flush-dns"_s});
        QVERIFY2(parsed.batch, parsed.error.c_str());
        QCOMPARE(parsed.batch->steps.size(), std::size_t(2));
        QCOMPARE(parsed.batch->steps[0].command.verb, HelperCommand::Verb::SetDns);
        QCOMPARE(parsed.batch->steps[0].command.servers.size(), std::size_t(2));
        QVERIFY(!parsed.batch->steps[0].onlyAfterSuccess);
        QCOMPARE(parsed.batch->steps[1].command.verb, HelperCommand::Verb::FlushDns);
        QVERIFY(parsed.batch->steps[1].onlyAfterSuccess);
    }

    void batchOfOneStep()
    {
        const HelperBatch::Parsed parsed = parseBatch({u"flush-dns"_s});
        QVERIFY2(parsed.batch, parsed.error.c_str());
        QCOMPARE(parsed.batch->steps.size(), std::size_t(1));
    }

    void batchRefusesBadSteps_data()
    {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<QString>("error");
        QTest::newRow("nothing") << QStringList{} << u"Step 1: No action given"_s;
        QTest::newRow("only a separator") << QStringList{u";"_s} << u"Step 1: No action given"_s;
        QTest::newRow("trailing separator")
            << QStringList{u"flush-dns"_s, u";"_s} << u"Step 2: No action given"_s;
        QTest::newRow("two separators")
            << QStringList{u"flush-dns"_s, u";"_s, u"&&"_s, u"drop-caches"_s}
            << u"Step 2: No action given"_s;
        QTest::newRow("a step's own bad pid")
            << QStringList{u"flush-dns"_s, u";"_s, u"renice"_s, u"$(reboot)"_s, u"10"_s, u"5"_s}
            << u"Step 2: Invalid process id"_s;
        QTest::newRow("a nice only autogroup takes")
            << QStringList{u"renice"_s, u"42"_s, u"-20"_s, u"5"_s}
            << u"Step 1: Nice value must be -10, 10 or 0"_s;
        QTest::newRow("autogroup out of range")
            << QStringList{u"autogroup"_s, u"42"_s, u"20"_s, u"5"_s}
            << u"Step 1: Nice value must be between -20 and 19"_s;
        QTest::newRow("separator glued to a word")
            << QStringList{u"flush-dns;"_s, u"drop-caches"_s} << u"Step 1: Unknown action"_s;
        QTest::newRow("shell separator inside an argument")
            << QStringList{u"set-dns"_s, u"eth0;reboot"_s, u"1.1.1.1"_s}
            << u"Step 1: Invalid network connection or interface"_s;
        QTest::newRow("a separator where a step's argument goes")
            << QStringList{u"renice"_s, u"42"_s, u"&&"_s, u"10"_s, u"5"_s}
            << u"Step 1: Usage: renice PID NICE START-TIME"_s;
        QTest::newRow("a batch inside a batch")
            << QStringList{u"flush-dns"_s, u";"_s, u"batch"_s, u"drop-caches"_s}
            << u"Step 2: Unknown action"_s;
        QTest::newRow("unknown verb") << QStringList{u"reboot"_s} << u"Step 1: Unknown action"_s;
        QStringList tooMany;
        for (std::size_t i = 0; i <= HelperBatch::maximumSteps; ++i) {
            tooMany << u"flush-dns"_s << u";"_s;
        }
        tooMany.removeLast();
        QTest::newRow("too many steps") << tooMany << u"Too many steps"_s;
    }

    void batchRefusesBadSteps()
    {
        QFETCH(QStringList, words);
        QFETCH(QString, error);
        const HelperBatch::Parsed parsed = parseBatch(words);
        QVERIFY(!parsed.batch);
        QCOMPARE(QString::fromStdString(parsed.error), error);
    }

    void batchTakesAsManyStepsAsAllowed()
    {
        QStringList words;
        for (std::size_t i = 0; i < HelperBatch::maximumSteps; ++i) {
            words << u"renice"_s << QString::number(i + 1) << u"10"_s << u"5"_s << u";"_s;
        }
        words.removeLast();
        const HelperBatch::Parsed parsed = parseBatch(words);
        QVERIFY2(parsed.batch, parsed.error.c_str());
        QCOMPARE(parsed.batch->steps.size(), HelperBatch::maximumSteps);
        QCOMPARE(parsed.batch->steps.back().command.pid, int(HelperBatch::maximumSteps));
    }

    void uuidShape()
    {
        QVERIFY(HelperCommand::isConnectionUuid("00000000-0000-0000-0000-000000000000"));
        QVERIFY(!HelperCommand::isConnectionUuid("00000000-0000-0000-0000-00000000000"));
        QVERIFY(!HelperCommand::isConnectionUuid("00000000-0000-0000-0000-0000000000000"));
        QVERIFY(!HelperCommand::isConnectionUuid("0000000g-0000-0000-0000-000000000000"));
        QVERIFY(!HelperCommand::isConnectionUuid("00000000_0000-0000-0000-000000000000"));
    }
};

QTEST_APPLESS_MAIN(TestHelperCommand)
#include "tst_helpercommand.moc"
