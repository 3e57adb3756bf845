#include "cli/invocation.h"
#include "cli/profile_check.h"
#include "cli/profile_pages.h"
#include "known_settings.h"

#include <QtTest>

using namespace zun;

namespace {

// Cells of a condition frame: type "00"-formatted and four hex digits per slot.
QString cells(const QStringList& sixEach) {
    return sixEach.join(QString());
}

// An unused row as the pages send it: value 0, slot 2 as 0 + 273 kelvin.
QStringList unusedCells() {
    return {"000000", "000000", "000111", "000000", "000000", "000000", "000000", "000000"};
}

QString joinedPaths(const std::vector<cli::FieldProblem>& problems) {
    QStringList out;
    for (const auto& p : problems) {
        out << p.path;
    }
    return out.join(" ; ");
}

QString allText(const std::vector<cli::FieldProblem>& problems) {
    QStringList out;
    for (const auto& p : problems) {
        out << p.path + " = " + p.value + ": " + p.reason;
    }
    return out.join('\n');
}

}  // namespace

class TestCliCheck : public QObject {
    Q_OBJECT
private slots:
    void checkAsTheWindowWould_data();
    void checkAsTheWindowWould();
    void warningsDoNotRefuse_data();
    void warningsDoNotRefuse();
    void framesOfTheKnownProfiles();
    void pagesAndProfileChoice();
    void commandLine_data();
    void commandLine();
    void portNames_data();
    void portNames();
};

void TestCliCheck::checkAsTheWindowWould_data() {
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("profile");
    QTest::addColumn<int>("table");  // -1 none, 0 general 1 protection 2 stages 3 next 4 any
                                     // 5 target
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("paths");   // every wrong field, in order
    QTest::addColumn<QString>("reason");  // part of the first reason

    auto row = [](const char* name, int profile, int table, int entry, const char* text,
                  const char* paths, const char* reason, const char* model = known::kModel) {
        QTest::newRow(name) << model << profile << table << entry << text << paths << reason;
    };
    row("profile 1 as it stands", 0, -1, 0, "", "", "");
    row("profile 2 as it stands", 1, -1, 0, "", "", "");
    row("nominal voltage of another charger", 0, 0, 0, "24", "profiles[1].general.nominalVoltageV",
        "the charger is a 12 V charger");
    row("no nominal voltage", 0, 0, 0, "", "profiles[1].general.nominalVoltageV",
        "the charger is a 12 V charger");
    row("charger with an unknown model", 0, -1, 0, "",
        "profiles[1].general.nominalVoltageV ; "
        "profiles[1].stages[1].voltageV ; profiles[1].stages[1].currentA ; "
        "profiles[1].stages[2].voltageV ; profiles[1].stages[2].currentA ; "
        "profiles[1].stages[3].voltageV ; profiles[1].stages[3].currentA ; "
        "profiles[1].nextStage[1].chargingVoltageAboveV.value ; "
        "profiles[1].nextStage[2].chargingCurrentBelowA.value",
        "the charger (model 3300) has no nominal voltage", "3300");
    row("capacity above 600", 0, 0, 1, "700", "profiles[1].general.capacityAh",
        "the page would make it 600");
    row("capacity with a fraction", 0, 0, 1, "150.6", "profiles[1].general.capacityAh",
        "the page would make it 151");
    row("reference temperature with two decimals", 0, 0, 3, "22.45",
        "profiles[1].general.referenceTempC", "the page would make it 22.5");
    row("reference temperature with one decimal", 0, 0, 3, "22.5", "", "");
    row("derating beyond its byte", 0, 0, 4, "300", "profiles[1].general.deratingAPerC",
        "the charger would store it as 44");
    row("negative battery temperature", 0, 1, 0, "-5", "profiles[1].protection.batteryTempAboveC",
        "the page would make it 0");
    row("battery temperature beyond 16 bits", 0, 1, 0, "40000",
        "profiles[1].protection.batteryTempAboveC", "too large for the charger's field");
    row("over-voltage not the nominal one", 0, 1, 1, "17",
        "profiles[1].protection.batteryVoltageAboveV", "follows the nominal voltage: 18 for 12V");
    row("total time above 24 h", 0, 1, 4, "30", "profiles[1].protection.maxTotalChargingHours",
        "the page would make it 24");
    row("total time below 4 h", 0, 1, 4, "3",
        "profiles[1].protection.maxTotalChargingHours ; "
        "profiles[1].nextStage[1].sectionTimeAboveMin.value ; "
        "profiles[1].nextStage[2].sectionTimeAboveMin.value",
        "the page would make it 4");
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
    row("no stages", 0, 2, 0, "0", "profiles[1].stageCount", "choose 1 to 4 stages");
    row("no stage count", 0, 2, 0, "", "profiles[1].stageCount", "choose 1 to 4 stages");
    row("stage voltage above the limit", 0, 2, 1, "17.9", "profiles[1].stages[1].voltageV",
        "the page would make it 16");
    row("stage voltage below nominal", 0, 2, 3, "11.9", "profiles[1].stages[2].voltageV",
        "the page would make it 12");
    row("stage current below 2 A", 0, 2, 4, "1",
        "profiles[1].stages[2].currentA ; profiles[1].nextStage[2].chargingCurrentBelowA.value",
        "the page would make it 2");
    row("stage current above the rating", 0, 2, 2, "25", "profiles[1].stages[1].currentA",
        "the page would make it 20");
    row("stage current with two decimals", 0, 2, 2, "10.25", "profiles[1].stages[1].currentA",
        "the page would make it 10.3");
    row("stage 4 values beyond the count do not count", 0, 2, 7, "99", "", "");
    row("voltage threshold too close to the stage", 0, 3, 0, "214.3",
        "profiles[1].nextStage[1].chargingVoltageAboveV.value", "the page would make it 14.2");
    row("current threshold with two decimals", 0, 3, 12, "22.55",
        "profiles[1].nextStage[2].chargingCurrentBelowA.value", "the page would make it 2.5");
    row("temperature before the last transition", 0, 3, 2, "245",
        "profiles[1].nextStage[1].temperatureAboveC.use", "can be used before the last transition");
    row("and with or on one transition", 0, 3, 0, "114.2",
        "profiles[1].nextStage[1].chargingVoltageAboveV.use ; "
        "profiles[1].nextStage[1].sectionTimeAboveMin.use",
        "\"and\" and \"or\" are mixed");
    row("half a minute is not stored", 0, 3, 5, "212.5",
        "profiles[1].nextStage[1].sectionTimeAboveMin.value", "the charger would store it as 12");
    row("unused cell that does not fit", 0, 3, 6, "099999",
        "profiles[1].nextStage[1].sectionChargeAboveAh.value", "too large for the charger's field");
    row("unused cell with any value that fits", 0, 3, 6, "0123", "", "");
    row("conditions beyond the stage count do not count", 0, 3, 30, "1999", "", "");
    row("target is the stage itself", 1, 5, 1, "1", "profiles[2].anyStage[2].target",
        "must be another of the 4 stages, or null");
    row("target beyond the stages", 1, 5, 2, "6", "profiles[2].anyStage[3].target",
        "must be another of the 4 stages, or null");
    row("target stage 1 on stage 1 means none", 1, 5, 0, "0", "", "");
    row("and with or on the any-stage page", 1, 4, 0, "113",
        "profiles[2].anyStage[1].chargingVoltageAboveV.use ; "
        "profiles[2].anyStage[1].sectionTimeAboveMin.use",
        "\"and\" and \"or\" are mixed");
    row("any-stage voltage above its stage", 1, 4, 24, "220",
        "profiles[2].anyStage[4].chargingVoltageAboveV.value", "the page would make it 13.3");
    row("any-stage temperature above 59", 1, 4, 10, "260",
        "profiles[2].anyStage[2].temperatureAboveC.value", "the page would make it 59");
}

void TestCliCheck::checkAsTheWindowWould() {
    QFETCH(QString, model);
    QFETCH(int, profile);
    QFETCH(int, table);
    QFETCH(int, entry);
    QFETCH(QString, text);
    QFETCH(QString, paths);
    QFETCH(QString, reason);
    link::ProfileSlot slot = known::Settings().profiles[profile];
    switch (table) {
        case 0:
            slot.general[entry] = text;
            break;
        case 1:
            slot.protection[entry] = text;
            break;
        case 2:
            slot.stages[entry] = text;
            break;
        case 3:
            slot.nextCond[entry] = text;
            break;
        case 4:
            slot.anyCond[entry] = text;
            break;
        case 5:
            slot.anyTarget[entry] = text;
            break;
        default:
            break;
    }
    const cli::ProfileCheck check = cli::CheckProfile(slot, profile, cli::ContextForModel(model));
    QVERIFY2(joinedPaths(check.wrong) == paths, qPrintable(allText(check.wrong)));
    if (!reason.isEmpty()) {
        QVERIFY2(check.wrong.front().reason.contains(reason), qPrintable(allText(check.wrong)));
    }
}

void TestCliCheck::warningsDoNotRefuse_data() {
    QTest::addColumn<int>("profile");
    QTest::addColumn<bool>("anyStage");
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    QTest::newRow("coefficient outside 10-30") << 0 << false << 2 << "40"
                                               << "profiles[1].general.tempCompensationMv = 40: "
                                                  "outside the page's range 10-30 mV";
    QTest::newRow("derating reference below 30")
        << 0 << false << 5 << "25.5"
        << "profiles[1].general.deratingReferenceTempC = 25.5: outside the page's range 30-50 C";
    QTest::newRow("any-stage section time beyond the total")
        << 1 << true << 5 << "21500"
        << "profiles[2].anyStage[1].sectionTimeAboveMin.value = 1500: Total time exceed "
           "protection time!";
}

void TestCliCheck::warningsDoNotRefuse() {
    QFETCH(int, profile);
    QFETCH(bool, anyStage);
    QFETCH(int, entry);
    QFETCH(QString, text);
    QFETCH(QString, warning);
    link::ProfileSlot slot = known::Settings().profiles[profile];
    if (anyStage) {
        slot.anyCond[entry] = text;
    } else {
        slot.general[entry] = text;
    }
    const cli::ProfileCheck check =
        cli::CheckProfile(slot, profile, cli::ContextForModel(known::kModel));
    QVERIFY2(check.ok(), qPrintable(allText(check.wrong)));
    QCOMPARE(allText(check.warnings), warning);
}

void TestCliCheck::framesOfTheKnownProfiles() {
    const auto settings = known::Settings();
    const cli::ChargerContext context = cli::ContextForModel(known::kModel);
    const auto plan =
        cli::PlanWrite(cli::PagesFor(settings.profiles[0], 0, context), cli::AllPages(), true);
    QCOMPARE(int(plan.size()), 5);

    QStringList next0 = unusedCells();
    next0[0] = "02058C";  // or 14.2 V
    next0[5] = "0201E0";  // or 480 min
    QStringList next1 = unusedCells();
    next1[4] = "020019";  // or 2.5 A, a charger identified
    next1[5] = "0200F0";  // or 240 min
    QStringList next2 = unusedCells();
    next2[2] = "02013E";  // or 45 C as kelvin
    const QStringList expected = {
        "850E510004B00064001200FA020190000D",
        "850C5200011B0708FFFFFF0014000D",
        QStringLiteral("85105300") + "02" + "05A000C8" + "05640032" + "05460014" + "000D",
        "851D54000000" + cells(next0) + "000D",
        "851D54000100" + cells(next1) + "000D",
        "851D54000200" + cells(next2) + "000D",
        "851D55000000" + cells(unusedCells()) + "000D",
        "851D55000100" + cells(unusedCells()) + "000D",
        "851D55000200" + cells(unusedCells()) + "000D",
    };
    QStringList got;
    for (const auto& page : plan) {
        got << page.frames;
    }
    QCOMPARE(got, expected);

    // Profile 2: four stages, stage 2 jumps to stage 4 (target byte 03), stage 4 to stage 1.
    const auto plan2 =
        cli::PlanWrite(cli::PagesFor(settings.profiles[1], 1, context), {cli::Page::Any}, true);
    QCOMPARE(plan2.front().frames.size(), 4);
    QCOMPARE(plan2.front().frames[1].left(12), QStringLiteral("851D55010103"));
    QCOMPARE(plan2.front().frames[0].left(12), QStringLiteral("851D55010002"));
    QCOMPARE(plan2.front().frames[2].left(12), QStringLiteral("851D55010200"));
    QCOMPARE(plan2.front().frames[3].left(12), QStringLiteral("851D55010300"));
    QVERIFY2(plan2.front().frames[1].contains("020143"), qPrintable(plan2.front().frames[1]));

    // Without a charger the current threshold goes as its whole part.
    const auto offline =
        cli::PlanWrite(cli::PagesFor(settings.profiles[0], 0, context), {cli::Page::Next}, false);
    QVERIFY2(offline.front().frames[1].contains("020002"), qPrintable(offline.front().frames[1]));
}

void TestCliCheck::pagesAndProfileChoice() {
    std::vector<cli::Page> pages;
    QString error;
    QVERIFY(cli::ParsePages("any, general,stages", pages, &error));
    QCOMPARE(int(pages.size()), 3);
    QCOMPARE(cli::PageName(pages[0]), QStringLiteral("general"));
    QCOMPARE(cli::PageName(pages[1]), QStringLiteral("stages"));
    QCOMPARE(cli::PageName(pages[2]), QStringLiteral("any"));
    QVERIFY(!cli::ParsePages("general,stage", pages, &error));
    QCOMPARE(error, QStringLiteral("--pages: \"stage\" is not a page (the pages are general, "
                                   "protection, stages, next, any)"));
}

void TestCliCheck::commandLine_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    auto row = [](const char* name, QStringList args, int code, const char* message) {
        QTest::newRow(name) << args << code << message;
    };
    row("nothing", {}, 2, "no command given");
    row("unknown command", {"frobnicate"}, 2, "\"frobnicate\" is not a command");
    row("unknown option", {"--frobnicate", "identify"}, 2, "Unknown option 'frobnicate'.");
    row("write without file", {"write"}, 2, "write needs one file");
    row("identify with a file", {"identify", "x"}, 2, "identify takes no file");
    row("ports with --port", {"ports", "--port", "/dev/x"}, 2, "ports does not take --port");
    row("chart with --port", {"chart", "a.csv", "-o", "b.png", "--port", "x"}, 2,
        "chart does not take --port");
    row("write with --json", {"--json", "write", "f"}, 2, "write does not take --json");
    row("log without -o", {"log"}, 2, "log needs -o FILE");
    row("profile 3", {"write", "f", "--profile", "3"}, 2, "--profile is 1 or 2, not \"3\"");
    row("unknown page", {"write", "f", "--pages", "general,foo"}, 2,
        "--pages: \"foo\" is not a page");
    row("model without dry run", {"write", "f", "--model", "3110"}, 2,
        "--model goes with --dry-run only");
    row("model not a number", {"write", "f", "--dry-run", "--model", "big"}, 2,
        "--model wants a model code");
    row("record 0", {"log", "-o", "x.csv", "--from", "0"}, 2,
        "--from wants a record number from 1");
    row("two ports", {"--port", "a", "--port", "b", "identify"}, 2,
        "--port names one port; --device numbers several");
    row("tiny chart", {"chart", "a", "-o", "b.png", "--size", "10x10"}, 2,
        "--size wants WIDTHxHEIGHT");
    row("settings to an empty name", {"settings", "-o", ""}, 2, "-o needs a file name");
    row("write, all options",
        {"write", "f", "--pages", "any,general", "--profile", "2", "--dry-run", "--model", "03120",
         "--port", "Com2", "--trace"},
        0, "");
    row("identify with every port option",
        {"--port", "Com2", "--device", "/dev/a", "--device", "/dev/b", "--only-given-ports",
         "--trace", "--json", "identify"},
        0, "");
    row("log with range", {"log", "-o", "x.csv", "--desc", "Test", "--from", "5", "--to", "8"}, 0,
        "");
}

void TestCliCheck::commandLine() {
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    cli::Invocation inv;
    QString got;
    bool help = false;
    const int code = cli::ParseCommandLine(arguments, inv, &got, &help);
    QVERIFY(!help);
    QCOMPARE(code, exitCode);
    QVERIFY2(message.isEmpty() ? got.isEmpty() : got.startsWith(message), qPrintable(got));
    if (code != 0) {
        return;
    }
    if (inv.command == "write") {
        QCOMPARE(inv.profile, 1);
        QCOMPARE(int(inv.pages.size()), 2);
        QCOMPARE(cli::PageName(inv.pages.back()), QStringLiteral("any"));
        QVERIFY(inv.dryRun);
        QCOMPARE(inv.model, QStringLiteral("3120"));
    } else if (inv.command == "identify") {
        QCOMPARE(inv.port.port, QStringLiteral("Com2"));
        QCOMPARE(inv.port.devices, (QStringList{"/dev/a", "/dev/b"}));
        QVERIFY(!inv.port.systemDevices);
        QVERIFY(inv.port.trace);
        QVERIFY(inv.json);
    } else {
        QCOMPARE(inv.output, QStringLiteral("x.csv"));
        QCOMPARE(inv.description, QStringLiteral("Test"));
        QCOMPARE(inv.from, QStringLiteral("5"));
        QCOMPARE(inv.to, QStringLiteral("8"));
    }
}

void TestCliCheck::portNames_data() {
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("device");
    QTest::newRow("Com2") << "Com2"
                          << "/dev/b";
    QTest::newRow("com1") << "com1"
                          << "/dev/a";
    QTest::newRow("COM2") << "COM2"
                          << "/dev/b";
    QTest::newRow("Com3 does not exist") << "Com3"
                                         << "";
    QTest::newRow("a device path") << "/dev/ttyUSB7"
                                   << "/dev/ttyUSB7";
    QTest::newRow("Com in a path") << "/dev/Com1"
                                   << "/dev/Com1";
}

void TestCliCheck::portNames() {
    QFETCH(QString, port);
    QFETCH(QString, device);
    const link::PortList ports({"/dev/a", "/dev/b"}, false);
    QString error;
    QCOMPARE(cli::ResolvePort(port, ports, &error), device);
    QCOMPARE(error.isEmpty(), !device.isEmpty());
    if (!error.isEmpty()) {
        QCOMPARE(error, port + " is not a port here (zunctl ports lists them)");
    }
}

QTEST_GUILESS_MAIN(TestCliCheck)
#include "test_cli_check.moc"
