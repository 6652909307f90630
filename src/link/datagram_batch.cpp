// Datagrams read from a socket many at a time.
#include "link/datagram_batch.h"

#include <netinet/in.h>
#include <sys/socket.h>

namespace {

// Buffers begin a cache line later each: at whole multiples of 64 KB all would share a few lines of
// the cache.
constexpr size_t STRIDE = DatagramBatch::LARGEST_DATAGRAM + 64;

void read_address(const sockaddr_storage &peer, QHostAddress &address)
{
    if (peer.ss_family == AF_INET)
        address.setAddress(ntohl(reinterpret_cast<const sockaddr_in *>(&peer)->sin_addr.s_addr));
    else
        address.setAddress(reinterpret_cast<const sockaddr *>(&peer));
}

} // namespace

struct DatagramBatch::Buffers
{
    // Not cleared: memory that no datagram has reached is never asked from the system.
    std::unique_ptr<char[]> bytes = std::make_unique_for_overwrite<char[]>(SIZE * STRIDE);
    std::array<sockaddr_storage, SIZE> peers{};
    std::array<iovec, SIZE> parts{};
    std::array<mmsghdr, SIZE> headers{};

    Buffers()
    {
        for (size_t i = 0; i < SIZE; ++i) {
            parts[i] = {.iov_base = bytes.get() + i * STRIDE, .iov_len = LARGEST_DATAGRAM};
            headers[i].msg_hdr.msg_name = &peers[i];
            headers[i].msg_hdr.msg_namelen = sizeof peers[i];
            headers[i].msg_hdr.msg_iov = &parts[i];
            headers[i].msg_hdr.msg_iovlen = 1;
        }
    }
};

DatagramBatch::DatagramBatch()
    : buffers(std::make_unique<Buffers>())
{
}

DatagramBatch::~DatagramBatch() = default;

bool DatagramBatch::read(qintptr descriptor)
{
    // The last read wrote how long each address is.
    for (size_t i = 0; i < taken; ++i)
        buffers->headers[i].msg_hdr.msg_namelen = sizeof buffers->peers[i];
    const int count = recvmmsg(static_cast<int>(descriptor), buffers->headers.data(), SIZE,
                               MSG_DONTWAIT, nullptr);
    next = 0;
    taken = count > 0 ? static_cast<size_t>(count) : 0;
    return taken > 0;
}

void DatagramBatch::hand_on(QByteArray &payload, QHostAddress &sender)
{
    read_address(buffers->peers[next], sender);
    payload = QByteArray::fromRawData(static_cast<const char *>(buffers->parts[next].iov_base),
                                      static_cast<int>(buffers->headers[next].msg_len));
    ++next;
}
