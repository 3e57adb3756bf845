#include "profile_tests.h"

#include <QCoreApplication>
#include <QTest>

std::vector<std::unique_ptr<QObject>> MakeProfileTests() {
    std::vector<std::unique_ptr<QObject>> tests;
    tests.push_back(MakeNominalVoltageTest());
    tests.push_back(MakePageFramesTest());
    tests.push_back(MakeFieldCorrectionsTest());
    tests.push_back(MakeConsistencyCheckTest());
    tests.push_back(MakeProfileSwitchTest());
    tests.push_back(MakeRobustnessTest());
    return tests;
}

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    int failed = 0;
    for (const auto& test : MakeProfileTests()) {
        failed += QTest::qExec(test.get(), argc, argv);
    }
    return failed == 0 ? 0 : 1;
}
