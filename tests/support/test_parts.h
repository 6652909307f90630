// Several classes of tests in one program: the one that main names, and the parts, each in a source
// of its own. x_test.cpp and each x_test_*.cpp are one program, x_test: a program for each would
// have to be linked.
#pragma once

#include <QtTest>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

// A class of tests, which is made only when its turn comes.
struct TestClass
{
    QByteArray file; // of its source, without folders: compilers may be given them in two ways
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
TestClass test_class(const QByteArray &file)
{
    return {.file = file.mid(file.lastIndexOf('/') + 1),
            .meta = &Tests::staticMetaObject,
            .run = [](int argc, char **argv) {
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
    explicit TestPart(const char *file) { test_parts().push_back(test_class<Tests>(file)); }
};

// Stands at the end of a part's source.
#define TEST_PART(Tests) static const TestPart<Tests> registered_part(__FILE__);

// Runs the tests that the command line names, each in the class that has it; all, if it names none.
// What no class has goes to all of them, and the first complains. `file` is the source of First,
// whose name the parts' names begin with.
template<typename First>
int run_tests(int argc, char **argv, const QByteArray &file)
{
    std::vector<TestClass> classes{test_class<First>(file)};
    const QByteArray &own = classes.front().file;
    const QByteArray own_parts = own.chopped(static_cast<int>(std::strlen(".cpp"))) + '_';
    // Programs of several tests have the parts of all.
    std::copy_if(test_parts().begin(), test_parts().end(), std::back_inserter(classes),
                 [own_parts](const TestClass &tests) { return tests.file.startsWith(own_parts); });
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

// As QTEST_GUILESS_MAIN, with the parts.
#define GUILESS_PARTS_TEST_MAIN(Tests)                                                             \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        QCoreApplication application(argc, argv);                                                  \
        return run_tests<Tests>(argc, argv, __FILE__);                                             \
    }

// As QTEST_MAIN, with the parts.
#define PARTS_TEST_MAIN(Tests)                                                                     \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        QApplication application(argc, argv);                                                      \
        QApplication::setAttribute(Qt::AA_Use96Dpi, true);                                         \
        return run_tests<Tests>(argc, argv, __FILE__);                                             \
    }
