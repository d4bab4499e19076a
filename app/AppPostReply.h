// What of a server's reply is logged. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

// The part of the replies to one post that is logged: so many bytes and pieces, and none once the
// post's time is over. Writing a log line may take a board's flash 10 ms, and libcurl looks at its
// time limit only between two reads, each of which may hold thousands of pieces.
//
// While it lives, the thread's posts are counted by it. One that is made in the middle of it, by
// the alarm routine, has a share of its own.
class CReplyShare
{
public:
    explicit CReplyShare(int timeout_s); // 0: no limit of time
    ~CReplyShare();
    CReplyShare(const CReplyShare&) = delete;
    CReplyShare& operator=(const CReplyShare&) = delete;

    // Whether the next piece is to be logged. The first one that is not is logged as such.
    bool Take(size_t bytes);

private:
    CReplyShare* m_outer;
    size_t m_bytes = 0;
    int m_pieces = 0;
    int64_t m_beginMs;
    int64_t m_limitMs;
    bool m_isUsedUp = false;
};
