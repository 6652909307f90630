// The assistant that brings a new or outdated device into service.
#pragma once

#include <QDialog>
#include <QString>

class Gui;
class QComboBox;
class QGridLayout;
class QLabel;
class QProgressBar;
class QPushButton;
struct Device;

// One device, one dialog, one at a time in the whole program. Every refresh of the device's row
// looks at the page again.
class DeppenAss : public QDialog
{
    Q_OBJECT

public:
    DeppenAss(Gui *window, Device *dev);

    void go_to_page(int new_page);
    void refresh();
    void update_progress();
    void on_next();
    void on_back();
    // The device's record is about to go: the dialog must not touch it any more.
    void forget_device();

signals:
    void update_props();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void build_page_area();
    void build_buttons();
    void drop_page_widgets();
    void add_progress_bar();
    void add_product_combo();
    void start_update();
    void choose_product();
    void set_product();
    void let_go();
    void leave_screen();

    Gui *gui = nullptr;
    int page = 0;
    Device *device = nullptr; // null once the dialog has been closed
    QPushButton *back_button = nullptr;
    QPushButton *next_button = nullptr;
    QLabel *text_label = nullptr;
    QWidget *page_widget = nullptr;
    QGridLayout *page_layout = nullptr;
    QComboBox *product_combo = nullptr; // on the product page only
    int chosen_product_id = 0;
    QString chosen_product_name;
    QProgressBar *progress_bar = nullptr; // on the updating page only
};
