#include "cli/invocation.h"
#include "cli/profile_check.h"
#include "known_settings.h"

#include <QtTest>

using namespace zun;

class TestCliCheck : public QObject {
    Q_OBJECT
private slots:
    void checkAsTheWindowWould_data();
    void checkAsTheWindowWould();
    void commandLine_data();
    void commandLine();
};

void TestCliCheck::checkAsTheWindowWould_data() {
    QTest::addColumn<int>("profile");
    QTest::addColumn<int>("table");  // as known::Field
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("paths");   // every wrong field in order, then "~" and the warnings
    QTest::addColumn<QString>("reason");  // part of the first reason
    auto row = [](const char* name, int profile, int table, int entry, const char* text,
                  const char* paths, const char* reason) {
        QTest::newRow(name) << profile << table << entry << text << paths << reason;
    };
    row("nominal voltage of another charger", 0, 0, 0, "24", "profiles[1].general.nominalVoltageV",
        "the charger is a 12 V charger");
    row("derating beyond its byte", 0, 0, 4, "300",
        "profiles[1].general.deratingAPerC ; ~profiles[1].general.deratingAPerC",
        "the charger would store it as 44");
    row("over-voltage not the nominal one", 0, 1, 1, "17",
        "profiles[1].protection.batteryVoltageAboveV", "follows the nominal voltage: 18 for 12V");
    row("half hours are not stored", 0, 1, 4, "12.5",
        "profiles[1].protection.maxTotalChargingHours", "the charger would store it as 12");
    row("section times beyond the total time", 0, 1, 4, "10",
        "profiles[1].nextStage[1].sectionTimeAboveMin.value ; "
        "profiles[1].nextStage[2].sectionTimeAboveMin.value",
        "the section times add up to more than maxTotalChargingHours (10 h)");
    row("five stages", 0, 2, 0, "5",
        "profiles[1].stageCount ; profiles[1].stages[4].voltageV ; "
        "profiles[1].stages[4].currentA ; profiles[1].nextStage[3].temperatureAboveC.use",
        "the pages offer 1 to 4 stages; it would become 4");
    row("stage current below 2 A", 0, 2, 4, "1",
        "profiles[1].stages[2].currentA ; profiles[1].nextStage[2].chargingCurrentBelowA.value",
        "the page would make it 2");
    row("stage 4 values beyond the count do not count", 0, 2, 7, "99", "", "");
    row("voltage threshold too close to the stage", 0, 3, 0, "214.3",
        "profiles[1].nextStage[1].chargingVoltageAboveV.value", "the page would make it 14.2");
    row("and with or on one transition", 0, 3, 0, "114.2",
        "profiles[1].nextStage[1].chargingVoltageAboveV.use ; "
        "profiles[1].nextStage[1].sectionTimeAboveMin.use",
        "\"and\" and \"or\" are mixed");
    row("unused cell that does not fit", 0, 3, 6, "099999",
        "profiles[1].nextStage[1].sectionChargeAboveAh.value", "too large for the charger's field");
    row("target is the stage itself", 1, 5, 1, "1", "profiles[2].anyStage[2].target",
        "must be another of the 4 stages, or null");
    row("target stage 1 on stage 1 means none", 1, 5, 0, "0", "", "");
    row("any-stage voltage above its stage", 1, 4, 24, "220",
        "profiles[2].anyStage[4].chargingVoltageAboveV.value", "the page would make it 13.3");
    row("any-stage section time beyond the total only warns", 1, 4, 5, "21500",
        "~profiles[2].anyStage[1].sectionTimeAboveMin.value", "Total time exceed protection time!");
}

void TestCliCheck::checkAsTheWindowWould() {
    QFETCH(int, profile);
    QFETCH(int, table);
    QFETCH(int, entry);
    QFETCH(QString, text);
    QFETCH(QString, paths);
    QFETCH(QString, reason);
    link::ProfileSlot slot = known::Settings().profiles[profile];
    known::Field(slot, table, entry) = text;
    const cli::ProfileCheck check =
        cli::CheckProfile(slot, profile, profile::ContextForModel(known::kModel));
    QStringList got;
    QStringList all;
    for (const auto* list : {&check.wrong, &check.warnings}) {
        for (const cli::FieldProblem& p : *list) {
            got << (list == &check.warnings ? "~" : "") + p.path;
            all << got.last() + " = " + p.value + ": " + p.reason;
        }
    }
    QVERIFY2(got.join(" ; ") == paths, qPrintable(all.join('\n')));
    QVERIFY2(all.value(0).contains(reason), qPrintable(all.join('\n')));
}

void TestCliCheck::commandLine_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("result");  // the message's beginning, or what was parsed
    auto row = [](const char* name, QStringList args, int code, const char* result) {
        QTest::newRow(name) << args << code << result;
    };
    row("nothing", {}, 2, "no command given");
    row("unknown command", {"frobnicate"}, 2, "\"frobnicate\" is not a command");
    row("write without file", {"write"}, 2, "write needs one file");
    row("ports with --port", {"ports", "--port", "/dev/x"}, 2, "ports does not take --port");
    row("profile 3", {"write", "f", "--profile", "3"}, 2, "--profile is 1 or 2, not \"3\"");
    row("unknown page", {"write", "f", "--pages", "general,stage"}, 2,
        "--pages: \"stage\" is not a page (the pages are general, protection, stages, next, any)");
    row("model without dry run", {"write", "f", "--model", "3110"}, 2,
        "--model goes with --dry-run only");
    row("record 0", {"log", "-o", "x.csv", "--from", "0"}, 2,
        "--from wants a record number from 1");
    row("write, pages in the write-all order",
        {"write", "f", "--pages", "any, general,stages", "--profile", "2", "--dry-run", "--model",
         "03120", "--port", "Com2", "--trace"},
        0, "write|f|general,stages,any|2|dry run|3120|Com2|trace||||");
    row("monitor every 0 s", {"monitor", "--interval", "0"}, 2,
        "--interval wants a whole number from 1 to 3600");
    row("monitor every 3601 s", {"monitor", "--interval", "3601"}, 2,
        "--interval wants a whole number from 1 to 3600");
    row("monitor count 0", {"monitor", "--count", "0"}, 2,
        "--count wants a whole number from 1 to");
    row("wait not a number", {"identify", "--wait", "soon"}, 2, "--wait wants a whole number");
    row("log does not count", {"log", "-o", "x.csv", "--count", "3"}, 2,
        "log does not take --count");
    row("chart does not wait", {"chart", "f", "-o", "x.png", "--wait", "3"}, 2,
        "chart does not take --wait");
    row("monitor recording",
        {"monitor", "--interval", "2", "--count", "3", "-o", "m.csv", "--wait", "10"}, 0,
        "monitor||general,protection,stages,next,any|0|||||m.csv|||");
    row("log with range", {"log", "-o", "x.csv", "--desc", "Test", "--from", "5", "--to", "8"}, 0,
        "log||general,protection,stages,next,any|0|||||x.csv|Test|5|8");
}

void TestCliCheck::commandLine() {
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, result);
    cli::Invocation v;
    QString message;
    bool help = false;
    QCOMPARE(cli::ParseCommandLine(arguments, v, &message, &help), exitCode);
    QVERIFY(!help);
    if (exitCode != 0) {
        QVERIFY2(message.startsWith(result), qPrintable(message));
        return;
    }
    QStringList pages;
    for (profile::Page p : v.pages) {
        pages << profile::PageName(p);
    }
    QCOMPARE(QStringList({v.command, v.arguments.join(' '), pages.join(','),
                          QString::number(v.profile + 1), v.dryRun ? "dry run" : "", v.model,
                          v.port.port, v.port.trace ? "trace" : "", v.output, v.description, v.from,
                          v.to})
                 .join('|'),
             result);
    QVERIFY(message.isEmpty());
}

QTEST_GUILESS_MAIN(TestCliCheck)
#include "test_cli_check.moc"
