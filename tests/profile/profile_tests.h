#pragma once

#include <QObject>

#include <memory>
#include <vector>

// Each test class of the profile library registers a factory here; test_main runs them all.
std::vector<std::unique_ptr<QObject>> MakeProfileTests();

std::unique_ptr<QObject> MakeNominalVoltageTest();
std::unique_ptr<QObject> MakePageFramesTest();
std::unique_ptr<QObject> MakeFieldCorrectionsTest();
std::unique_ptr<QObject> MakeConsistencyCheckTest();
std::unique_ptr<QObject> MakeProfileSwitchTest();
std::unique_ptr<QObject> MakeRobustnessTest();
