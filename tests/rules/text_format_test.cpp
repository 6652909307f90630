// printf into a standard string.
#include "support/text_format.h"

#include <QtTest>

class TextFormatTest : public QObject
{
    Q_OBJECT

private slots:
    void a_text_of_any_length_comes_whole()
    {
        const std::string name(5000, 'x');
        QCOMPARE(format_text("eq%d/%s", 7, name.c_str()), "eq7/" + name);
    }

    void what_has_no_text_says_so()
    {
        const wchar_t no_letter[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
        QCOMPARE(format_text("%ls", no_letter), std::string("<error>"));
    }

    void an_empty_text_is_no_fault() { QCOMPARE(format_text("%s", ""), std::string()); }
};

QTEST_APPLESS_MAIN(TextFormatTest)
#include "text_format_test.moc"
