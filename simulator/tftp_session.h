// The TFTP server of one device (RFC 1350, writing only), with faults on demand.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>

#include <cstdint>

namespace simulator {

// What strikes at a certain block instead of the plain answer.
enum class TftpStrike
{
    NONE,
    LOSE,       // no answer
    DOUBLE,     // the ACK twice
    WRONG_ACK,  // an ACK with another number
    LATE,       // the ACK after `late` ms
    ERROR_SENT, // an ERROR packet, and the transfer is over
    RAW,        // any bytes
    OFFLINE,    // the device is gone
};

struct TftpFaults
{
    bool silent = false; // no answer to anything
    int ack_delay = 0;   // ms before each ACK
    TftpStrike strike = TftpStrike::NONE;
    int at_block = -1;     // -1: at the next block, whichever it is
    int times = 1;         // how often it strikes
    int offset = 1;        // of WRONG_ACK
    int late = 700;        // of LATE, ms
    int code = 0;          // of ERROR_SENT
    QByteArray bytes = {}; // the text of ERROR_SENT, or what RAW sends
    QString refuse = {};   // the device refuses every image with this text
};

struct TftpAnswer
{
    QByteArray bytes = {};
    int delay = 0; // ms
};

struct TftpOutcome
{
    QVarLengthArray<TftpAnswer, 2> answers = {};
    bool started = false;  // a write request was accepted
    bool finished = false; // the last block has just arrived
    bool goes_offline = false;
};

class TftpSession
{
public:
    // Handles one datagram from `peer_address` and `peer_port`. Blocks of another peer, repeated
    // and unexpected ones change no data; the repeated last block is acknowledged again. Files
    // over 64 MiB are refused with error 3.
    TftpOutcome handle(uint32_t peer_address, uint16_t peer_port, const char *bytes, int size);
    // The file, of which the session keeps nothing: a fleet would keep a file for each device.
    QByteArray take_file();
    // Forgets the transfer, not the faults.
    void reset();

    bool running = false;   // a write request was accepted and its file is not complete
    QString file_name = {}; // as asked for
    QByteArray data = {};   // so far
    qint64 blocks = 0;      // so far; the number on the wire is this modulo 65,536
    TftpFaults faults = {};

private:
    void on_request(const char *bytes, int size, TftpOutcome &outcome);
    void on_data(const char *bytes, int size, TftpOutcome &outcome);
    void acknowledge(TftpOutcome &outcome);
    bool strikes_now();
    void strike(TftpOutcome &outcome);

    uint32_t address = 0;
    uint16_t port = 0;
    bool complete = false;
};

QByteArray tftp_ack(uint16_t block);
QByteArray tftp_error(uint16_t code, const QByteArray &text);

} // namespace simulator
