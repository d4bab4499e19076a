// The two message queues between the daemon and the other processes of the host.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

// What a tray message says: wParam and lParam.
using TrayReport = std::pair<long, long>;

// The tray process: makes the queue, and reads it when a test asks.
class CTray
{
public:
    CTray();

    // Everything that has come so far, oldest first; with a count, waits until there is that much.
    const std::vector<TrayReport>& Reports();
    const std::vector<TrayReport>& WaitReports(size_t count);

    size_t Waiting() const; // messages in the queue that nobody has read
    void Fill() const;      // until the queue takes no more
    void Remove() const;

private:
    int m_queue;
    std::vector<TrayReport> m_reports;
};

constexpr long kRequestType = 38154;

// Asks the daemon to post a device, as another process of the host would. The bytes are those of
// the message behind its type: the daemon takes at most 88.
void send_request(long wparam, long type = kRequestType, size_t bytes = 88);

size_t waiting_requests(); // in the request queue
void take_request();       // takes the first of them away
