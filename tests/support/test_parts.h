// Several classes of tests in one program: the one that main names, and the parts, each in a source
// of its own. x_test.cpp and each x_test_*.cpp are one program, x_test: a program for each would
// have to be linked.
#pragma once

#include <QtTest>

#include <algorithm>
#include <vector>

// A class of tests, which is made only when its turn comes.
struct TestClass
{
    const QMetaObject *meta;
    int (*run)(int argc, char **argv);

    // Of "test" or "test:row", as the command line has it.
    bool has(const char *argument) const
    {
        const QByteArray name = QByteArray(argument).split(':').constFirst();
        return meta->indexOfSlot((name + "()").constData()) >= 0;
    }
};

template<typename Tests>
TestClass test_class()
{
    return {.meta = &Tests::staticMetaObject, .run = [](int argc, char **argv) {
                Tests tests;
                return QTest::qExec(&tests, argc, argv);
            }};
}

inline std::vector<TestClass> &test_parts()
{
    static std::vector<TestClass> parts;
    return parts;
}

template<typename Tests>
struct TestPart
{
    TestPart() { test_parts().push_back(test_class<Tests>()); }
};

// Stands at the end of a part's source.
#define TEST_PART(Tests) static const TestPart<Tests> registered_part;

// Runs the tests that the command line names, each in the class that has it; all, if it names none.
// What no class has goes to all of them, and the first complains.
template<typename First>
int run_tests(int argc, char **argv)
{
    std::vector<TestClass> classes{test_class<First>()};
    classes.insert(classes.end(), test_parts().begin(), test_parts().end());
    const auto is_test = [classes](const char *argument) {
        return std::any_of(classes.begin(), classes.end(),
                           [argument](const TestClass &tests) { return tests.has(argument); });
    };
    const bool names_tests = std::any_of(argv + 1, argv + argc, is_test);

    int failures = 0;
    for (const TestClass &tests : classes) {
        std::vector<char *> arguments;
        std::copy_if(argv, argv + argc, std::back_inserter(arguments),
                     [tests, is_test](const char *argument) {
                         return !is_test(argument) || tests.has(argument);
                     });
        if (!names_tests || std::any_of(arguments.begin() + 1, arguments.end(), is_test))
            failures += tests.run(static_cast<int>(arguments.size()), arguments.data());
    }
    return std::min(failures, 127); // a status has no more
}

// As QTEST_MAIN, with the parts.
#define PARTS_TEST_MAIN(Tests)                                                                     \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        QApplication application(argc, argv);                                                      \
        QApplication::setAttribute(Qt::AA_Use96Dpi, true);                                         \
        return run_tests<Tests>(argc, argv);                                                       \
    }
