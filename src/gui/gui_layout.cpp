// What stands where in the window, what it says at its bottom, and what of it is kept between runs.
#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "gui/about_box.h"
#include "gui/gui.h"
#include "gui/message_box.h"
#include "gui/network_combo.h"
#include "gui/search_box.h"
#include "gui/status_line.h"
#include "gui/top_bar.h"
#include "gui/window_rules.h"
#include "link/interface_rules.h"

#include <QAction>
#include <QCoreApplication>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>
#include <limits>

namespace {

constexpr int LEAST_CURVE_HEIGHT = 120; // points: below it the handles can't be told apart

// The two rows of buttons: list and panel below them begin at one height.
void align_rows(QWidget *one, QWidget *other)
{
    const int height = std::max(one->sizeHint().height(), other->sizeHint().height());
    one->setFixedHeight(height);
    other->setFixedHeight(height);
}

// What a saved state has collapsed to nothing opens again at its least size: who finds no list any
// more does not think of the dividers. Restoring a state also restores the right to collapse.
void restore_splitter(QSplitter *splitter, const QByteArray &state)
{
    splitter->restoreState(state);
    splitter->setChildrenCollapsible(false);
    if (splitter->sizes().contains(0))
        splitter->setSizes(splitter->sizes());
}

} // namespace

void Gui::build_menus()
{
    QMenu *file_menu = menuBar()->addMenu("&File");
    device_menu = menuBar()->addMenu("&Device");
    QMenu *help_menu = menuBar()->addMenu("&Help");

    QAction *exit = file_menu->addAction(tr("E&xit"));
    exit->setShortcut(QKeySequence());
    exit->setMenuRole(QAction::QuitRole);
    exit->setShortcut(QKeySequence(QKeySequence::Quit));
    // Some desktops have no standard key for leaving.
    if (exit->shortcut().isEmpty())
        exit->setShortcut(QKeySequence("Ctrl+Q"));
    connect(exit, &QAction::triggered, qApp, &QCoreApplication::quit);

    QAction *about = help_menu->addAction("About this software");
    connect(about, &QAction::triggered, this, [this] { show_about_box(this); });
}

void Gui::build_device_menu()
{
    const auto add = [this](const QString &caption, const QKeySequence &shortcut, auto handler) {
        QAction *action = device_menu->addAction(caption);
        action->setShortcut(shortcut);
        connect(action, &QAction::triggered, this, handler);
    };
    add("&Delete entry", QKeySequence(Qt::Key_Delete), &Gui::delete_selected_devices);
    // Opening sends nothing: the device's next report shows that its stream is off, and is
    // answered.
    add("Enable &logging", QKeySequence("Ctrl+L"), [this] { log_windows.open(table.selected()); });
    add("Pu&rge AES67 sessions", QKeySequence("Ctrl+R"), &Gui::purge_sessions);
    add("L&PI upload", QKeySequence("Ctrl+P"), [this] { upload_file("lpi.bin"); });
    add("Network info", QKeySequence(), [this] {
        show_message_box(this, QMessageBox::Information, "Network info", network_report());
    });
}

void Gui::build_window()
{
    eq_splitter = new QSplitter(Qt::Vertical);
    eq_splitter->setObjectName("eq_splitter");
    eq_splitter->addWidget(table.view());

    auto *left = new QWidget;
    auto *left_layout = new QVBoxLayout(left);
    top_bar = new TopBar;
    left_layout->addWidget(top_bar);
    left_layout->addWidget(eq_splitter);

    property_splitter = new QSplitter(Qt::Horizontal);
    property_splitter->setObjectName("property_splitter");
    property_splitter->addWidget(left);
    panel.set_ground(dark_theme);
    property_splitter->addWidget(&panel);
    left_layout->setContentsMargins(panel.layout()->contentsMargins());
    left_layout->setSpacing(panel.layout()->spacing());
    align_rows(top_bar, panel.findChild<QWidget *>("property_head"));

    curve_widget = new CurveWidget(nullptr, {});
    curve_widget->setMinimumHeight(LEAST_CURVE_HEIGHT);
    connect(top_bar->eq_button(), &QPushButton::toggled, this, [this](bool checked) {
        if (!checked)
            curve_widget->setParent(nullptr);
        else if (!curve_widget->parent())
            eq_splitter->addWidget(curve_widget);
    });
    connect(top_bar->identify_button(), &QPushButton::clicked, this, &Gui::identify_selected);
    connect(top_bar->search_box(), &SearchBox::left, this,
            [this] { table.view()->setFocus(Qt::ShortcutFocusReason); });
    connect_panel();

    property_splitter->setSizes(first_splitter_sizes(width()));
    constexpr int half = std::numeric_limits<int>::max();
    eq_splitter->setSizes({half, half});
    setCentralWidget(property_splitter);
    table.view()->setFocus(); // else the arrows go from button to button
}

// The order matters: each later state sits inside what an earlier one has laid out.
void Gui::restore_saved_state()
{
    top_bar->eq_button()->setChecked(settings.value("eq_visible", false).toBool());
    restoreGeometry(settings.value("geometry").toByteArray());
    restoreState(settings.value("windowState").toByteArray());
    restore_splitter(property_splitter, settings.value("property_splitter").toByteArray());
    restore_splitter(eq_splitter, settings.value("eq_splitter").toByteArray());
    // KEPT: these two are read and never written: the order that survives is the one in list_state.
    const int order = settings.value("sort_order", 0).toInt();
    table.sort_by(settings.value("sort_column", 0).toInt(),
                  order == Qt::DescendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder);
    top_bar->search_box()->restore(settings.value("search_history").toStringList());
    if (settings.value("column_info").toString() == table.column_signature())
        table.restore_state(settings.value("list_state").toByteArray());
}

void Gui::put_settings()
{
    settings.put("eq_visible", top_bar->eq_button()->isChecked());
    settings.put("geometry", saveGeometry());
    settings.put("windowState", saveState());
    settings.put("property_splitter", property_splitter->saveState());
    settings.put("eq_splitter", eq_splitter->saveState());
    settings.put("list_state", table.save_state());
    settings.put("column_info", table.column_signature());
    settings.put("search_history", top_bar->search_box()->history());
}

// Another program may hold the file at this moment; who closes a window waits no longer than this.
void Gui::save_settings()
{
    constexpr int longest_wait = 1000; // ms
    put_settings();
    settings.write(longest_wait);
}

// What is changed by hand is kept soon, so that a power cut or a lost display costs little. The
// columns' widths follow the devices' texts, and are no reason to write.
void Gui::watch_for_changes()
{
    const auto note = [this] { settings.note_change(); };
    connect(&settings, &KeptSettings::due, this, [this] {
        put_settings();
        if (settings.has_news() && !settings.write(0))
            settings.note_change();
    });
    connect(top_bar->eq_button(), &QPushButton::toggled, this, note);
    for (QSplitter *splitter : {property_splitter, eq_splitter})
        connect(splitter, &QSplitter::splitterMoved, this, note);
    connect(table.view()->header(), &QHeaderView::sectionMoved, this, note);
    connect(table.view()->header(), &QHeaderView::sortIndicatorChanged, this, note);
    for (const QAction *action : table.actions())
        connect(action, &QAction::triggered, this, note);
    connect(top_bar->search_box()->model(), &QAbstractItemModel::rowsInserted, this, note);
}

void Gui::moveEvent(QMoveEvent *event)
{
    QMainWindow::moveEvent(event);
    settings.note_change();
}

void Gui::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    settings.note_change();
}

// Whatever may change the counts only asks: they are made once per painted frame.
void Gui::build_status_line()
{
    status_line = new StatusLine;
    setStatusBar(status_line);
    if (copy_lock.is_second_copy())
        status_line->show_second_copy();
    connect(&device_link, &DeviceLink::bind_troubles_changed, this,
            [this] { status_line->show_troubles(device_link.bind_troubles()); });
    status_line->show_troubles(device_link.bind_troubles());

    connect(&panel, &PropertyPanel::edit_started, this, [this] {
        status_line->show_editing(static_cast<int>(table.selected().size()),
                                  panel.count_unshared());
    });
    connect(&panel, &PropertyPanel::edit_ended, status_line, &StatusLine::end_editing);

    const auto ask = [this] { status_pace.ask(); };
    connect(&table, &DeviceTable::counts_changed, this, ask);
    connect(&uploads, &Uploads::summary_changed, this, ask);
    connect(&status_pace, &FrameThrottle::due, this, [this] {
        status_line->show_counts(table.counts());
        status_line->show_uploads(uploads.summary());
    });
}
