// Transport: carries a form body to one URL with libcurl's easy interface, or to several at once
// with the multi interface. A post is done when the transfer was made, whatever came of it: the
// outcome and the reply are only logged. No handle, connection or cookie outlives a post.
#include "app/AppPost.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <curl/curl.h>
#include <memory>
#include <utility>

#include "app/AppClock.h"
#include "app/AppPause.h"
#include "app/AppPostEncoding.h"
#include "app/AppPostReply.h"
#include "app/AppRules.h"
#include "app/AppSettings.h"
#include "app/NameLookup.h"
#include "vkPub/vkLog.h"

namespace
{

constexpr char kCookieFile[] = "/NandFlash/curl.cookie"; // read on every transfer, never written
constexpr long kFirstWaitMs = 1000;                      // where libcurl has no timeout of its own
constexpr int kLongestDozeMs = 10;                       // while a transfer has no descriptor yet
constexpr int kFailurePauseMs = 100;                     // after libcurl refused to go on
constexpr int kFailuresInARow = 100;                     // then the transfers are given up

struct EasyDeleter
{
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;

struct MultiDeleter
{
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};
using MultiHandle = std::unique_ptr<CURLM, MultiDeleter>;

void log_no_memory(const char* body)
{
    const int in = static_cast<int>(std::strlen(body)) + 1;
    if (CAppPost::m_sEncoding == kUtf8)
    {
        VKLOG_TRACE("Err malloc [%d]!!!\n", in);
    }
    else
    {
        VKLOG_TRACE("Err malloc [%d-%d]!!!\n", in, 4 * (in - 1) + 1);
    }
    VKLOG_TRACE("Err NULL==bufCvtTo!!!\n");
}

// On purpose a test for the text anywhere in the URL.
bool is_https(const char* url)
{
    return std::strstr(url, "https://") != nullptr;
}

void set_tls(CURL* handle)
{
    if (!CAppPost::m_strCA.empty())
    {
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
        curl_easy_setopt(handle, CURLOPT_CAINFO, CAppPost::m_strCA.c_str());
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    }
    else
    {
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 1L); // 1 on purpose, not 0
    }
}

void set_target(CURL* handle, const char* url)
{
    curl_easy_setopt(handle, CURLOPT_URL, url);
    if (is_https(url))
    {
        set_tls(handle);
    }
}

void set_receiver(CURL* handle, void* poster)
{
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, _PostOnWrite);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, poster);
}

void set_limits(CURL* handle, int timeout_s)
{
    const int limit_s = taken_number(SettingId::kTimeout, timeout_s);
    limit_name_lookups(limit_s);
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, long{limit_s});
    curl_easy_setopt(handle, CURLOPT_COOKIEFILE, kCookieFile);
}

// A transfer for a multi handle, all options set; null when libcurl has none to give. Body and URL
// must outlive it.
EasyHandle make_transfer(const char* body, const char* url, void* poster, int timeout_s)
{
    EasyHandle handle(curl_easy_init());
    if (handle == nullptr)
    {
        return handle;
    }
    set_target(handle.get(), url);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, _PostOnWrite);
    curl_easy_setopt(handle.get(), CURLOPT_HEADER, 0L);
    curl_easy_setopt(handle.get(), CURLOPT_PRIVATE, url); // names the transfer when it is done
    curl_easy_setopt(handle.get(), CURLOPT_VERBOSE, 0L);
    curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, body);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, poster);
    set_limits(handle.get(), timeout_s);
    return handle;
}

// The transfers of one post that have not come to their end, each in the multi handle. What is
// left when the post is given up is taken out and released.
class CTransfers
{
public:
    explicit CTransfers(CURLM* multi) : m_multi(multi) {}
    ~CTransfers()
    {
        for (const EasyHandle& transfer : m_transfers)
        {
            curl_multi_remove_handle(m_multi, transfer.get());
        }
    }
    CTransfers(const CTransfers&) = delete;
    CTransfers& operator=(const CTransfers&) = delete;

    // Puts the transfer into the multi handle; it is dropped when that fails or it is null.
    void Add(EasyHandle transfer)
    {
        if (transfer != nullptr && curl_multi_add_handle(m_multi, transfer.get()) == CURLM_OK)
        {
            m_transfers.push_back(std::move(transfer));
        }
    }

    void Release(CURL* transfer)
    {
        curl_multi_remove_handle(m_multi, transfer);
        m_transfers.erase(std::find_if(m_transfers.begin(), m_transfers.end(),
                                       [=](const EasyHandle& one)
                                       { return one.get() == transfer; }));
    }

    CURLM* Multi() const { return m_multi; }

private:
    CURLM* m_multi;
    std::vector<EasyHandle> m_transfers;
};

// Takes the finished transfers out of the multi handle; the number of them.
int drain_messages(CTransfers& transfers, int row)
{
    int finished = 0;
    int queued = 0;
    while (const CURLMsg* message = curl_multi_info_read(transfers.Multi(), &queued))
    {
        if (message->msg != CURLMSG_DONE)
        {
            std::fprintf(stderr, "Error: CURLMsg (%d)\n", static_cast<int>(message->msg));
            continue;
        }
        CURL* const transfer = message->easy_handle;
        const CURLcode code = message->data.result; // gone with the handle
        char* url = nullptr;
        curl_easy_getinfo(transfer, CURLINFO_PRIVATE, &url);
        VKLOG_TRACE(" rec-%d=%d (%d)<%s-%s>\n", row, code == CURLE_OK ? 0 : -1,
                    static_cast<int>(code), url != nullptr ? url : "", curl_easy_strerror(code));
        transfers.Release(transfer);
        ++finished;
    }
    return finished;
}

// Waits for the transfers, at most as long as libcurl asked for. While a host name is being
// resolved there may be no descriptor to wait for, and curl_multi_wait returns at once: the doze
// keeps that from becoming a busy loop.
class CTransferWait
{
public:
    CURLMcode Wait(CURLM* multi, long timeout_ms)
    {
        int ready = 0;
        const int longest = static_cast<int>(timeout_ms < 0 ? kFirstWaitMs : timeout_ms);
        int64_t before = 0;
        int64_t after = 0;
        wall_clock_ms(before);
        const CURLMcode code = curl_multi_wait(multi, nullptr, 0, longest, &ready);
        wall_clock_ms(after);
        if (code != CURLM_OK || ready > 0 || after != before || longest == 0)
        {
            m_dozeMs = 1;
            return code;
        }
        pause_ms(std::min(m_dozeMs, longest));
        m_dozeMs = std::min(m_dozeMs * 2, kLongestDozeMs);
        return code;
    }

private:
    int m_dozeMs = 1;
};

// One round of all transfers: false when libcurl refused, which it may get over.
bool perform_and_wait(CURLM* multi, CTransferWait& wait, int& running)
{
    long timeout_ms = kFirstWaitMs;
    const CURLMcode performed = curl_multi_perform(multi, &running);
    curl_multi_timeout(multi, &timeout_ms);
    if (performed != CURLM_OK)
    {
        std::fprintf(stderr, "curl_multi_perform failed, code %d.n", static_cast<int>(performed));
        return false;
    }
    const CURLMcode waited = wait.Wait(multi, timeout_ms);
    if (waited != CURLM_OK)
    {
        std::fprintf(stderr, "curl_multi_wait failed, code %d.n", static_cast<int>(waited));
        return false;
    }
    return true;
}

// Runs all transfers to their end; the number of those that came to one.
int run_transfers(CTransfers& transfers, int row)
{
    CTransferWait wait;
    int finished = 0;
    int running = -1;
    int failures = 0;
    do
    {
        if (perform_and_wait(transfers.Multi(), wait, running))
        {
            failures = 0;
            finished += drain_messages(transfers, row);
        }
        else if (++failures >= kFailuresInARow)
        {
            break; // the daemon must not hang on a handle that will never recover
        }
        else if (running != 0)
        {
            pause_ms(kFailurePauseMs);
        }
    } while (running != 0);
    return finished;
}

} // namespace

int CAppPost::DoPost(const char* msg, const char* url)
{
    if (url == nullptr || *url == '\0')
    {
        if (m_vUrls.size() >= kFewestInList)
        {
            return DoPostEx(m_vUrls, msg);
        }
        url = m_strUrl.c_str();
    }
    VKLOG_TRACE("   DoPost...\n");
    const char* body = msg != nullptr ? msg : m_szPostBuf;
    if (*url == '\0')
    {
        return 0;
    }
    VKLOG_TRACE("   DoPost Msg: %s\n", body);

    const CBodyText outgoing = outgoing_body(body);
    if (outgoing == nullptr)
    {
        return 0;
    }

    int result = 0;
    CURLcode code = CURLE_OK;
    if (const EasyHandle handle{curl_easy_init()})
    {
        set_target(handle.get(), url);
        curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, outgoing.get());
        set_receiver(handle.get(), this);
        set_limits(handle.get(), m_iTimeout);
        const CReplyShare share(taken_number(SettingId::kTimeout, m_iTimeout));
        code = curl_easy_perform(handle.get());
        result = 1;
    }
    VKLOG_TRACE(" rec-%d=%d (%d)\n", m_iPostRow.load(), result, static_cast<int>(code));
    return result;
}

// The list is a copy on purpose: it owns the texts that name the transfers in the log.
int CAppPost::DoPostEx(std::vector<std::string> urls, const char* msg)
{
    if (urls.empty())
    {
        return 0;
    }
    const char* body = msg != nullptr ? msg : m_szPostBuf;
    const CBodyText outgoing = outgoing_body(body);
    if (outgoing == nullptr)
    {
        log_no_memory(body);
        return 0;
    }
    VKLOG_TRACE("start DoPostEx Msg: %s\n", outgoing.get());

    const MultiHandle multi(curl_multi_init());
    if (multi == nullptr)
    {
        return 0;
    }
    curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, static_cast<long>(urls.size()));
    CTransfers transfers(multi.get());
    for (const std::string& url : urls)
    {
        transfers.Add(make_transfer(outgoing.get(), url.c_str(), this, m_iTimeout));
    }
    const CReplyShare share(taken_number(SettingId::kTimeout, m_iTimeout));
    return run_transfers(transfers, m_iPostRow) > 0 ? 1 : 0;
}

void CAppPost::initCurl(void* cm, const char* abuf, const char* url, void* userdata, int timeout)
{
    if (cm == nullptr)
    {
        VKLOG_TRACE("Err NULL==cm!!!\n");
        return;
    }
    if (abuf == nullptr)
    {
        VKLOG_TRACE("Err NULL==abuf!!!\n");
        return;
    }
    EasyHandle handle = make_transfer(abuf, url, userdata, timeout);
    if (handle != nullptr && curl_multi_add_handle(cm, handle.get()) == CURLM_OK)
    {
        static_cast<void>(handle.release()); // the multi handle's caller has it from now on
    }
}
