// The pictures of the products: complete, of one form, and told apart at the size of the list.
#include "model/meta.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

#include <cstdlib>

namespace {

const QString resource_folder = QStringLiteral(VECTOR_FOLDER "/../../src/resources");
constexpr int list_size = 32; // pixels, the list's icon size at scale factor 1

// ":/icons/R2.png" as the file that the resource is made from.
QString file_of(const QString &resource_path)
{
    return resource_folder + resource_path.mid(1);
}

QImage on_ground(const QString &name, const QColor &ground)
{
    const QImage picture(resource_folder + "/icons/" + name + ".png");
    QImage result(list_size, list_size, QImage::Format_RGB32);
    result.fill(ground);
    QPainter painter(&result);
    painter.drawImage(
        0, 0, picture.scaled(result.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    return result;
}

// Of two colours: the mean distance of their three channels, 0 to 255.
double colour_difference(QRgb left, QRgb right)
{
    return (std::abs(qRed(left) - qRed(right)) + std::abs(qGreen(left) - qGreen(right))
            + std::abs(qBlue(left) - qBlue(right)))
        / 3.0;
}

double mean_difference(const QImage &left, const QImage &right)
{
    double sum = 0;
    for (int y = 0; y < list_size; y++)
        for (int x = 0; x < list_size; x++)
            sum += colour_difference(left.pixel(x, y), right.pixel(x, y));
    return sum / (list_size * list_size);
}

// Share of the pixels that differ from `ground` so much that they are seen, 0 to 1.
double visible_share(const QImage &picture, const QColor &ground)
{
    int visible = 0;
    for (int y = 0; y < list_size; y++)
        for (int x = 0; x < list_size; x++)
            visible += colour_difference(picture.pixel(x, y), ground.rgb()) > 48 ? 1 : 0;
    return visible / double(list_size * list_size);
}

QStringList files_in_qrc()
{
    QFile file(resource_folder + "/resources.qrc");
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression entry("<file>([^<]+)</file>");
    QStringList files;
    auto matches = entry.globalMatch(QString::fromUtf8(file.readAll()));
    while (matches.hasNext())
        files += matches.next().captured(1);
    return files;
}

void add_icon_rows()
{
    QTest::addColumn<QString>("icon");
    build_catalogue();
    QSet<QString> seen;
    for (const ProductDesc &product : catalogue().product_table) {
        const QString icon = QString::fromStdString(product.icon);
        if (seen.contains(icon))
            continue;
        seen.insert(icon);
        QTest::newRow(product.icon.c_str()) << icon;
    }
}

// Products by family.
const std::map<QString, QStringList> families = {
    {"point source",
     {"R2", "R3", "R6", "HM16c", "HM16i", "HM24", "HM24j", "e4", "e5", "D-Serie", "TriPoint"}},
    {"line source", {"Y1", "Y2", "Y4", "Y6", "Y8", "N20", "N24"}},
    {"subwoofer",
     {"TSub1001", "TSub1201", "TSub1501", "TSub1801", "TSub1802", "NSub1502", "NSub1801",
      "HM16Sub"}},
    {"module", {"ZEM-sign", "AES67"}},
    {"bridge", {"kavena-sign"}},
};

} // namespace

class ProductIconsTest : public QObject
{
    Q_OBJECT

private slots:
    void every_product_has_a_picture_of_256_pixels_with_clear_corners_data() { add_icon_rows(); }
    void every_product_has_a_picture_of_256_pixels_with_clear_corners();
    void every_product_picture_is_a_resource_with_a_drawing_data() { add_icon_rows(); }
    void every_product_picture_is_a_resource_with_a_drawing();
    void every_product_belongs_to_a_family_data() { add_icon_rows(); }
    void every_product_belongs_to_a_family();
    void each_picture_is_seen_on_white_and_on_black_data() { add_icon_rows(); }
    void each_picture_is_seen_on_white_and_on_black();
    void families_look_different_at_list_size_data();
    void families_look_different_at_list_size();
    void no_two_pictures_are_alike();
    void resources_hold_every_rendered_picture_and_nothing_missing();
    void splash_is_wide_and_has_no_clear_parts();
};

void ProductIconsTest::every_product_has_a_picture_of_256_pixels_with_clear_corners()
{
    QFETCH(QString, icon);
    const QImage picture(file_of(icon));
    QVERIFY2(!picture.isNull(), qPrintable(file_of(icon)));
    QCOMPARE(picture.size(), QSize(256, 256));
    QVERIFY(picture.hasAlphaChannel());
    for (const QPoint corner : {QPoint(0, 0), QPoint(255, 0), QPoint(0, 255), QPoint(255, 255)})
        QCOMPARE(qAlpha(picture.pixel(corner)), 0);
}

void ProductIconsTest::every_product_picture_is_a_resource_with_a_drawing()
{
    QFETCH(QString, icon);
    QVERIFY(files_in_qrc().contains(icon.mid(2)));
    QString drawing = file_of(icon);
    drawing.replace("/src/resources/icons/", "/art/icons/")
        .replace(QRegularExpression("\\.png$"), ".svg");
    QVERIFY(QFile::exists(drawing));
}

void ProductIconsTest::every_product_belongs_to_a_family()
{
    QFETCH(QString, icon);
    const QString name = icon.section('/', -1).section('.', 0, 0);
    int count = 0;
    for (const auto &[family, names] : families)
        count += names.count(name);
    QCOMPARE(count, 1);
}

void ProductIconsTest::each_picture_is_seen_on_white_and_on_black()
{
    QFETCH(QString, icon);
    const QString name = icon.section('/', -1).section('.', 0, 0);
    for (const QColor &ground : {QColor(Qt::white), QColor(Qt::black)}) {
        const double share = visible_share(on_ground(name, ground), ground);
        QVERIFY2(share > 0.12, qPrintable(QString::number(share)));
    }
}

void ProductIconsTest::families_look_different_at_list_size_data()
{
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<QStringList>("right");
    for (auto left = families.begin(); left != families.end(); ++left)
        for (auto right = std::next(left); right != families.end(); ++right)
            QTest::addRow("%s and %s", qPrintable(left->first), qPrintable(right->first))
                << left->second << right->second;
}

void ProductIconsTest::families_look_different_at_list_size()
{
    QFETCH(QStringList, left);
    QFETCH(QStringList, right);
    for (const QColor &ground : {QColor(Qt::white), QColor(Qt::black)})
        for (const QString &one : left)
            for (const QString &other : right) {
                const double difference
                    = mean_difference(on_ground(one, ground), on_ground(other, ground));
                QVERIFY2(difference > 20,
                         qPrintable(QString("%1 and %2: %3").arg(one, other).arg(difference)));
            }
}

void ProductIconsTest::no_two_pictures_are_alike()
{
    QStringList all;
    for (const auto &[family, names] : families)
        all += names;
    for (int one = 0; one < all.size(); one++)
        for (int other = one + 1; other < all.size(); other++) {
            const double difference
                = mean_difference(on_ground(all[one], Qt::white), on_ground(all[other], Qt::white));
            QVERIFY2(
                difference > 10,
                qPrintable(QString("%1 and %2: %3").arg(all[one], all[other]).arg(difference)));
        }
}

void ProductIconsTest::resources_hold_every_rendered_picture_and_nothing_missing()
{
    QStringList listed = files_in_qrc();
    QStringList rendered;
    for (const QString &file : QDir(resource_folder + "/icons").entryList({"*.png"}, QDir::Files))
        rendered += "icons/" + file;
    listed.sort();
    rendered.sort();
    QVERIFY(!listed.isEmpty());
    QCOMPARE(listed, rendered);
}

void ProductIconsTest::splash_is_wide_and_has_no_clear_parts()
{
    const QImage splash(file_of(":/icons/VELMARK.png"));
    QCOMPARE(splash.size(), QSize(640, 360));
    for (const QPoint corner : {QPoint(0, 0), QPoint(639, 0), QPoint(0, 359), QPoint(639, 359)})
        QCOMPARE(qAlpha(splash.pixel(corner)), 255);
}

QTEST_MAIN(ProductIconsTest)
#include "product_icons_test.moc"
