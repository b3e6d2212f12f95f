#pragma once

#include <QObject>
#include <functional>

// Lets one test executable per subsystem hold many test classes: each class registers itself
// with TARVEX_TEST(Class) in its own file, and the shared main runs them all in turn.
namespace tarvex::test {

int Register(const char* name, std::function<QObject*()> factory);

} // namespace tarvex::test

#define TARVEX_TEST(Class)                                                                         \
    static const int s_tarvex_test_##Class =                                                       \
        ::tarvex::test::Register(#Class, [] { return static_cast<QObject*>(new Class); })
