// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QTest>

namespace velmora::testing
{

using TestFunction = int (*)(int argc, char **argv);

/// Adds a test to the executable it is linked into. The test is named after its file. The executable runs the test that
/// its first argument names; CTest runs each test in a process of its own.
class TestRegistration
{
public:
    TestRegistration(const char *file, TestFunction function);
};

/// Runs the slots of a test object within an application of this type.
template <typename Application, typename Test>
int runTestObject(int argc, char **argv)
{
    Application application(argc, argv);
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi, true);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

/// Runs the slots of a test object that creates its own applications.
template <typename Test>
int runTestObjectAlone(int argc, char **argv)
{
    Test test;
    return QTest::qExec(&test, argc, argv);
}

} // namespace velmora::testing

/// Registers a function that creates its own application.
#define VELMORA_TEST_FUNCTION(function)                                                                                \
    static const velmora::testing::TestRegistration testRegistration(__FILE__, function);

/// Registers a test object that needs no display.
#define VELMORA_TEST(Test) VELMORA_TEST_FUNCTION((&velmora::testing::runTestObject<QCoreApplication, Test>))

/// Registers a test object that creates its own applications.
#define VELMORA_TEST_WITHOUT_APPLICATION(Test) VELMORA_TEST_FUNCTION((&velmora::testing::runTestObjectAlone<Test>))

/// Registers a test object that shows widgets. Its file must include QApplication.
#define VELMORA_WIDGET_TEST(Test) VELMORA_TEST_FUNCTION((&velmora::testing::runTestObject<QApplication, Test>))
