// Plays an operator at random: mouse, keys and menus of the real window.
#pragma once

#include "simulator/random_source.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <map>
#include <vector>

class WindowHandle;
class QAbstractButton;
class StallWatch;
struct Device;
struct PanelRow;
struct WindowCase;

class OperatorPlay : public QObject
{
    Q_OBJECT

public:
    OperatorPlay(WindowCase &window, StallWatch &stalls, uint64_t seed);

    void start();
    void stop();
    // Leaves the window as somebody would who goes home: nothing edited, searched or logged, all
    // columns shown, the fleet's network chosen.
    void leave_tidily();
    // Takes every entry that is not online off the list.
    void delete_offline();

    std::map<QString, qint64> counts = {}; // acts by name

private:
    struct Row;
    static const std::vector<Row> &rows();

    static bool is_free();
    void play_one();
    void perform(const Row &row);

    // --- soak/operator_list.cpp
    void select_few();
    void select_many();
    void clear_selection();
    void sort();
    void search();
    void clear_search();
    void commit_search();
    void toggle_column();
    void scroll();
    void resize();
    void delete_entries();
    void select_offline();
    void select_and_delete_offline();
    void add_dummy();
    void click_row(int row, Qt::KeyboardModifiers modifiers);
    std::vector<int> visible_rows() const;

    // --- soak/operator_edit.cpp
    void begin_edit();
    void edit_row();
    void confirm();
    void cancel();
    void toggle_eq();
    void drag_curve();
    void identify();
    void purge();
    void update_firmware();
    void upload_file();
    void save_or_load_backup();
    void change_editor(const PanelRow &row);
    void change_number(QWidget *spinner);

    // --- soak/operator_windows.cpp
    void open_logs();
    void close_log();
    void use_console();
    void use_log_keys();
    void choose_network();
    void return_to_fleet();
    void show_network_info();
    void show_about();
    void restart();
    Device *device_with_log();

    WindowHandle &gui() const;
    void trigger(const QString &caption);
    static void press(QAbstractButton *button);

    WindowCase &window;
    StallWatch &stalls;
    simulator::RandomSource random;
    QTimer timer;
    QTimer homesickness; // back from a network without devices
};
