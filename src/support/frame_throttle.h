// "At most once per painted frame": paces work that is asked for more often than anyone sees it.
#pragma once

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

class FrameThrottle : public QObject
{
    Q_OBJECT

public:
    static constexpr int FRAME = 16; // ms, unless set_frame says otherwise

    using Clock = std::function<qint64()>; // ms, steady, from any origin

    FrameThrottle();
    explicit FrameThrottle(Clock its_clock);
    static qint64 steady_ms(); // the clock that is used without another

    // `due` follows once, however often this is called until then: in a later turn of the event
    // loop, and a frame after the last one at the earliest.
    void ask();
    // The same, in the next turn whenever the last one was: for the rest of work that was cut up.
    void ask_next_turn();
    // The work has just been done, by whichever way: what was asked for is done with it, and the
    // next frame begins.
    void note_done();
    // How long the frame lasts that the work last done began, and those after it.
    void set_frame(int ms) { frame = ms; }
    // Forgets what was asked for.
    void cancel();

    bool is_waiting() const { return timer.isActive(); }
    int wait() const { return timer.isActive() ? timer.interval() : 0; } // ms, as asked for
    int rest_of_frame() const; // ms; 0: it may be done at once

signals:
    void due();

private:
    void fire();

    Clock clock;
    QTimer timer;
    int frame = FRAME;
    std::optional<qint64> last_done = {};
};
