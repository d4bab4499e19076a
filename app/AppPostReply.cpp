// What servers answer: it is logged and nothing else, and of the answers to one post only so much
// that no server can fill the board's flash or hold the daemon up with log lines.
#include "app/AppPostReply.h"

#include <algorithm>
#include <cstring>
#include <curl/curl.h>

#include "app/AppClock.h"
#include "app/AppPost.h"
#include "vkPub/vkLog.h"

namespace
{

constexpr size_t kLoggedBytes = 262144; // of the replies to one post
constexpr int kLoggedPieces = 1000;

// The post that this thread is making. libcurl's callback is given the poster alone, and alarms
// may be posted by another thread at the same time, or by this one in the middle of a post.
thread_local CReplyShare* g_current_share = nullptr;

} // namespace

CReplyShare::CReplyShare(int timeout_s)
    : m_outer(g_current_share), m_beginMs(steady_ms()), m_limitMs(int64_t{1000} * timeout_s)
{
    g_current_share = this;
}

CReplyShare::~CReplyShare()
{
    g_current_share = m_outer;
}

bool CReplyShare::Take(size_t bytes)
{
    if (m_isUsedUp)
    {
        return false;
    }
    m_bytes += bytes;
    ++m_pieces;
    const bool is_late = m_limitMs > 0 && steady_ms() - m_beginMs > m_limitMs;
    if (m_bytes <= kLoggedBytes && m_pieces <= kLoggedPieces && !is_late)
    {
        return true;
    }
    m_isUsedUp = true;
    VKLOG_TRACE("OnPost... the rest of the reply is not logged\n");
    return false;
}

size_t _PostOnWrite(void* ptr, size_t size, size_t nmemb, void* userdata)
{
    if (g_current_share != nullptr && !g_current_share->Take(size * nmemb))
    {
        return size * nmemb;
    }
    // libcurl's data has no end mark; a copy on the stack gives it one without allocating.
    char text[CURL_MAX_WRITE_SIZE + 1];
    const size_t length = std::min(size * nmemb, sizeof(text) - 1);
    std::memcpy(text, ptr, length);
    text[length] = '\0';
    // The length given is the element size, on purpose: the receiver does not use it.
    static_cast<CAppPost*>(userdata)->OnPost(text, static_cast<int>(size));
    return size * nmemb;
}

int CAppPost::OnPost(char* data, int /*len*/)
{
    VKLOG_TRACE("OnPost... %s\n", data);
    return 1;
}
