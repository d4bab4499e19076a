#include "tests/daemon/support/Queues.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <sys/ipc.h>
#include <sys/msg.h>

#include "tests/daemon/support/Await.h"

namespace
{

constexpr key_t kTrayKey = 0x9000;
constexpr key_t kRequestKey = 0x9500;
constexpr size_t kTrayBytes = 100; // behind the type

struct Message
{
    long type;
    std::array<char, 256> text;
};

int get_queue(key_t key)
{
    const int queue = msgget(key, IPC_CREAT | 0666);
    if (queue < 0)
    {
        throw std::runtime_error("no message queue");
    }
    return queue;
}

size_t waiting_in(int queue)
{
    msqid_ds state{};
    return msgctl(queue, IPC_STAT, &state) == 0 ? state.msg_qnum : 0;
}

// Every tray message has its type and its length; anything else is a mistake of the daemon.
TrayReport as_report(const Message& message, ssize_t length)
{
    if (message.type != 0x900B || length != static_cast<ssize_t>(kTrayBytes))
    {
        throw std::runtime_error("a tray message of wrong type or length");
    }
    TrayReport report;
    std::memcpy(&report.first, message.text.data(), sizeof(long));
    std::memcpy(&report.second, message.text.data() + sizeof(long), sizeof(long));
    return report;
}

} // namespace

CTray::CTray() : m_queue(get_queue(kTrayKey))
{
}

const std::vector<TrayReport>& CTray::Reports()
{
    Message message{};
    for (;;)
    {
        const ssize_t length =
            msgrcv(m_queue, &message, message.text.size(), 0, IPC_NOWAIT | MSG_NOERROR);
        if (length < 0)
        {
            return m_reports;
        }
        m_reports.push_back(as_report(message, length));
    }
}

const std::vector<TrayReport>& CTray::WaitReports(size_t count)
{
    wait_until([&] { return Reports().size() >= count; });
    return m_reports;
}

size_t CTray::Waiting() const
{
    return waiting_in(m_queue);
}

void CTray::Fill() const
{
    const Message message{1, {}};
    while (msgsnd(m_queue, &message, kTrayBytes, IPC_NOWAIT) == 0)
    {
    }
}

void CTray::Remove() const
{
    msgctl(m_queue, IPC_RMID, nullptr);
}

void send_request(long wparam, long type, size_t bytes)
{
    Message message{type, {}};
    std::memcpy(message.text.data(), &wparam, sizeof(wparam));
    if (msgsnd(get_queue(kRequestKey), &message, bytes, 0) != 0)
    {
        throw std::runtime_error("the request cannot be sent");
    }
}

size_t waiting_requests()
{
    return waiting_in(get_queue(kRequestKey));
}

void take_request()
{
    Message message{};
    msgrcv(get_queue(kRequestKey), &message, message.text.size(), 0, IPC_NOWAIT);
}
