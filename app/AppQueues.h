// The two System V message queues through which other processes meet the daemon: their keys, and
// the messages as they lie in memory on both sides.
#pragma once

#include <cstddef>

constexpr int kTrayQueueKey = 0x9000;
constexpr int kRequestQueueKey = 0x9500;

constexpr long kRequestMessageType = 38154;
constexpr long kTrayMessageType = 0x900B;

// A request to post one device now; wParam is its SID, of which 16 bits count.
constexpr size_t kRequestTextBytes = 88; // behind the type; a longer message stays in the queue

struct RequestMessage
{
    long type;
    long wParam;
    long lParam;
    char reserved[kRequestTextBytes - 2 * sizeof(long)];
};
static_assert(sizeof(RequestMessage) == sizeof(long) + kRequestTextBytes,
              "msgrcv writes that much");

constexpr int requested_sid(long wParam)
{
    return static_cast<int>(wParam & 0xFFFF);
}

// A report of the daemon: (1,1) the cycle starts, (1,0) start-up failed, (0,1) alive.
constexpr size_t kTrayTextBytes = 100; // behind the type, of which the receiver reads two numbers

struct TrayMessage
{
    long type;
    long wParam;
    long lParam;
    char reserved[84];
};
static_assert(sizeof(TrayMessage) >= sizeof(long) + kTrayTextBytes, "msgsnd reads that much");
