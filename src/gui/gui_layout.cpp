// What stands where in the window, what it says at its bottom, and what of it is kept between runs.
#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "gui/escape_filter.h"
#include "gui/gui.h"
#include "gui/status_line.h"
#include "gui/window_rules.h"

#include <QAction>
#include <QComboBox>
#include <QCoreApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QSplitter>

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
    connect(about, &QAction::triggered, this, &Gui::show_about);
}

void Gui::build_device_menu()
{
    const auto add = [this](const QString &caption, const QKeySequence &shortcut, auto handler) {
        QAction *action = device_menu->addAction(caption);
        action->setShortcut(shortcut);
        connect(action, &QAction::triggered, this, handler);
    };
    add("&Delete entry", QKeySequence(Qt::Key_Delete), &Gui::delete_selected_devices);
    add("Enable &logging", QKeySequence("Ctrl+L"), &Gui::enable_logging);
    add("Pu&rge AES67 sessions", QKeySequence("Ctrl+R"), &Gui::purge_sessions);
    add("L&PI upload", QKeySequence("Ctrl+P"), [this] { upload_file("lpi.bin"); });
    add("Network info", QKeySequence(), &Gui::show_network_info);
}

void Gui::build_window()
{
    eq_splitter = new QSplitter(Qt::Vertical);
    eq_splitter->setObjectName("eq_splitter");
    eq_splitter->addWidget(table.view());

    auto *left = new QWidget;
    auto *left_layout = new QVBoxLayout(left);
    QWidget *top_bar = build_top_bar();
    left_layout->addWidget(top_bar);
    left_layout->addWidget(eq_splitter);
    left_layout->setStretch(1, 2);

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
    connect(curve_widget, &CurveWidget::on_filter_edited, this, &Gui::apply_band_edit);
    connect_panel();

    property_splitter->setSizes(first_splitter_sizes(width()));
    constexpr int half = std::numeric_limits<int>::max();
    eq_splitter->setSizes({half, half});
    setCentralWidget(property_splitter);
}

QWidget *Gui::build_top_bar()
{
    eq_button = new QPushButton("Show User EQ");
    eq_button->setObjectName("eq_button");
    eq_button->setCheckable(true);
    connect(eq_button, &QPushButton::toggled, this, &Gui::on_eq_toggled);

    eq_button->setToolTip("Shows the user equaliser of the selected devices under the list");

    identify_button = new QPushButton("Identify");
    identify_button->setToolTip("Lets the selected devices blink");
    identify_button->setObjectName("identify_button");
    identify_button->setEnabled(false);
    connect(identify_button, &QPushButton::clicked, this, &Gui::identify_selected);

    network_combo = new QComboBox;
    network_combo->setObjectName("network_box");
    network_combo->setAccessibleName("Network");
    // It grows with the names of late adapters, and gives way when the window is narrow.
    network_combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    network_combo->setMinimumWidth(network_combo->minimumSizeHint().width());
    search_combo = new QComboBox;
    search_combo->setObjectName("search_box");
    search_combo->setEditable(true);
    // Committing is ours: the box itself would add entries beyond the ten.
    search_combo->setInsertPolicy(QComboBox::NoInsert);
    search_combo->setAccessibleName("Search");
    search_combo->setToolTip("Leaves the devices that have this text in a column (Ctrl+F)");
    search_combo->lineEdit()->setPlaceholderText("🔍 Search");
    search_combo->lineEdit()->setClearButtonEnabled(true);
    connect_search_keys();
    auto *commit = new QShortcut(QKeySequence(Qt::Key_Return), search_combo);
    connect(commit, &QShortcut::activated, this, &Gui::commit_search);
    // The keypad's Enter is another key, which the shortcut leaves to the box.
    connect(search_combo->lineEdit(), &QLineEdit::returnPressed, this, &Gui::commit_search);

    auto *bar = new QWidget;
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(eq_button);
    layout->addStretch(1);
    layout->addWidget(identify_button);
    layout->addStretch(1);
    layout->addWidget(network_combo);
    layout->addStretch(1);
    layout->addWidget(search_combo, 3);
    return bar;
}

void Gui::on_eq_toggled(bool checked)
{
    if (!checked)
        curve_widget->setParent(nullptr);
    else if (!curve_widget->parent())
        eq_splitter->addWidget(curve_widget);
}

// The order matters: each later state sits inside what an earlier one has laid out.
void Gui::restore_saved_state()
{
    eq_button->setChecked(settings.value("eq_visible", false).toBool());
    restoreGeometry(settings.value("geometry").toByteArray());
    restoreState(settings.value("windowState").toByteArray());
    restore_splitter(property_splitter, settings.value("property_splitter").toByteArray());
    restore_splitter(eq_splitter, settings.value("eq_splitter").toByteArray());
    // These two are read and never written: the order that survives is the one in list_state.
    const int order = settings.value("sort_order", 0).toInt();
    table.sort_by(settings.value("sort_column", 0).toInt(),
                  order == Qt::DescendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder);
    restore_search_history();
    if (settings.value("column_info").toString() == table.column_signature())
        table.restore_state(settings.value("list_state").toByteArray());
}

void Gui::restore_search_history()
{
    constexpr int most_entries = 10;
    search_combo->addItems(settings.value("search_history").toStringList().mid(0, most_entries));
    search_combo->setCurrentIndex(-1);
}

void Gui::put_settings()
{
    QStringList history;
    for (int i = 0; i < search_combo->count(); ++i)
        history.append(search_combo->itemText(i));

    settings.put("eq_visible", eq_button->isChecked());
    settings.put("geometry", saveGeometry());
    settings.put("windowState", saveState());
    settings.put("property_splitter", property_splitter->saveState());
    settings.put("eq_splitter", eq_splitter->saveState());
    settings.put("list_state", table.save_state());
    settings.put("column_info", table.column_signature());
    settings.put("search_history", history);
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
    connect(eq_button, &QPushButton::toggled, this, note);
    for (QSplitter *splitter : {property_splitter, eq_splitter})
        connect(splitter, &QSplitter::splitterMoved, this, note);
    connect(table.view()->header(), &QHeaderView::sectionMoved, this, note);
    connect(table.view()->header(), &QHeaderView::sortIndicatorChanged, this, note);
    for (const QAction *action : table.actions())
        connect(action, &QAction::triggered, this, note);
    connect(search_combo->model(), &QAbstractItemModel::rowsInserted, this, note);
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

// Ctrl+F begins a new text, Escape takes it away and then leads back to the list.
void Gui::connect_search_keys()
{
    QLineEdit *edit = search_combo->lineEdit();
    auto *find = new QShortcut(QKeySequence(QKeySequence::Find), this);
    connect(find, &QShortcut::activated, search_combo, [edit] {
        edit->setFocus(Qt::ShortcutFocusReason);
        edit->selectAll();
    });
    auto *keys = new EscapeFilter(search_combo); // which has the focus for its field
    connect(keys, &EscapeFilter::escaped, search_combo, [this, edit] {
        if (edit->text().isEmpty())
            table.view()->setFocus(Qt::ShortcutFocusReason);
        else
            edit->clear();
    });
}

// The text stays what it is, so no search may follow: the box would start one for each entry that
// takes the place of the one removed.
void Gui::commit_search()
{
    QLineEdit *edit = search_combo->lineEdit();
    const QString text = edit->text();
    if (text.isEmpty())
        return;
    QStringList history;
    for (int i = 0; i < search_combo->count(); ++i)
        history.append(search_combo->itemText(i));

    const int cursor = edit->cursorPosition();
    const QSignalBlocker blocker(search_combo);
    search_combo->clear();
    search_combo->addItems(committed_history(history, text));
    search_combo->setCurrentIndex(0);
    edit->setCursorPosition(cursor);
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
        status_line->show_editing(static_cast<int>(selected_devices().size()),
                                  panel.count_unshared());
    });
    connect(&panel, &PropertyPanel::edit_ended, status_line, &StatusLine::end_editing);
    connect(this, &Gui::changes_sent, status_line, &StatusLine::show_confirmed);

    const auto ask = [this] { status_pace.ask(); };
    connect(&table, &DeviceTable::counts_changed, this, ask);
    connect(&uploads, &Uploads::summary_changed, this, ask);
    connect(&status_pace, &FrameThrottle::due, this, &Gui::refresh_status);
}

void Gui::refresh_status()
{
    status_line->show_counts(table.counts());
    status_line->show_uploads(uploads.summary());
}
