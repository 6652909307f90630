// Plays what comes in from the network into the real window, in process and without a socket.
#pragma once

#include <QByteArray>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <memory>

class WindowHandle;
class QComboBox;
class QDialog;
struct Device;

// Its hand on the window is not the operator's of the long run: that one has a mouse, keys and all
// the time that a dialog takes. Here an act is one call, over at once and the same each time.
class InboundPlay
{
public:
    // What takes most of the time is done for one input in so many.
    struct Shares
    {
        int played_per_shown = 16; // the window is hidden, as a minimised one, for the others
        size_t played_per_cache = 1;
        // A window keeps part of all that it has heard, such as the first report of each device
        // that it read from its cache. One that has heard of a million devices says nothing of
        // those that an operator has.
        int played_per_window = 1'000'000;
    };

    // Call it in a private network.
    explicit InboundPlay(Shares shares_);
    ~InboundPlay();

    // Plays an input from an empty list on. Ends the program when afterwards the list, the registry
    // and, for its share, the cache do not hold the same devices.
    void play(const uint8_t *data, size_t size);

private:
    void open_window();
    void play_step(const QByteArray &step);
    void window_step(char letter, const QByteArray &rest);
    void list_step(char letter, const QByteArray &rest);
    void edit_step(char letter, const QByteArray &rest);
    void log_step(char letter, const QByteArray &rest);

    void receive(int sender, const QByteArray &datagram, bool more_follows);
    void end_burst();
    void pass_time(int ms);
    void select_rows(const QByteArray &numbers);
    void edit(int number, const QByteArray &text);
    void press_assistant(int times);
    void save_and_read_cache();
    void paint();
    void check();
    void check_cache();
    void clear();
    void clear_window();
    Device *some_device_with_log();

    QTemporaryDir folder;
    std::unique_ptr<WindowHandle> gui;
    QComboBox *search = nullptr;
    Shares shares;
    int played = 0; // inputs
};
