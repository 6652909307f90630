// The assistant that brings a new or outdated device into service.
#pragma once

#include <QDialog>
#include <QString>

class InputGuard;
class QComboBox;
class QGridLayout;
class QLabel;
class QProgressBar;
class QPushButton;
struct Device;

// One device, one dialog, one at a time in the whole program. Every refresh of the device's row
// looks at the page again. It opens while its operator may be typing into the window behind it: so
// no button has the focus unless the operator has moved it there, and at first none takes input.
class DeppenAss : public QDialog
{
    Q_OBJECT

public:
    DeppenAss(Device *dev, QWidget *parent);

    Device *helped() const { return device; } // null once the dialog has been closed

    void go_to_page(int new_page);
    void refresh();
    void update_progress();
    void on_next();
    void on_back();
    // The device's record is about to go: the dialog must not touch it any more.
    void forget_device();

signals:
    void update_props(); // the device's row has been refreshed
    void update_wanted(Device *device, const QByteArray &image);
    void product_confirmed(Device *device, int product_id);

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void build_page_area();
    void build_buttons();
    void tell_which_device();
    void drop_page_widgets();
    void add_progress_bar();
    void add_product_combo();
    void start_update();
    void choose_product();
    void set_product();
    void let_go();
    void leave_screen();

    InputGuard *guard = nullptr;
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
