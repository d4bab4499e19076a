#include "tests/support/FakeCurl.h"

#include <algorithm>
#include <cstdarg>
#include <gtest/gtest.h>
#include <list>
#include <map>

#include "app/AppPost.h"
#include "tests/support/Recorder.h"

namespace
{

struct Easy
{
    int number = 0;
    bool open = true;
    const char* body = nullptr; // as libcurl does, the pointer is kept and read when it is sent
    void* priv = nullptr;
    void* write_data = nullptr;
    curl_write_callback write = nullptr;
};

struct Multi
{
    int number = 0;
    bool open = true;
    std::vector<Easy*> transfers;
    std::deque<CURLMsg> messages;
    FakeRound round;
};

std::list<Easy> easies;
std::list<Multi> multis;
CURLMsg read_message; // gone with its transfer

void add_event(const std::string& event)
{
    Recorder::Get().Add(event);
}

std::string name(const Easy& easy)
{
    return "e" + std::to_string(easy.number);
}

std::string name(const Multi& multi)
{
    return "m" + std::to_string(multi.number);
}

Easy& easy_of(CURL* handle)
{
    Easy& easy = *static_cast<Easy*>(handle);
    EXPECT_TRUE(easy.open) << name(easy) << " is used after its cleanup";
    return easy;
}

Multi& multi_of(CURLM* handle)
{
    Multi& multi = *static_cast<Multi*>(handle);
    EXPECT_TRUE(multi.open) << name(multi) << " is used after its cleanup";
    return multi;
}

Easy& easy_number(int number)
{
    return *std::next(easies.begin(), number - 1);
}

const std::map<CURLoption, std::string> kNumbers{{CURLOPT_SSL_VERIFYPEER, "SSL_VERIFYPEER"},
                                                 {CURLOPT_SSL_VERIFYHOST, "SSL_VERIFYHOST"},
                                                 {CURLOPT_POST, "POST"},
                                                 {CURLOPT_TIMEOUT, "TIMEOUT"},
                                                 {CURLOPT_HEADER, "HEADER"},
                                                 {CURLOPT_VERBOSE, "VERBOSE"}};
const std::map<CURLoption, std::string> kTexts{{CURLOPT_URL, "URL"},
                                               {CURLOPT_CAINFO, "CAINFO"},
                                               {CURLOPT_COOKIEFILE, "COOKIEFILE"},
                                               {CURLOPT_POSTFIELDS, "POSTFIELDS"},
                                               {CURLOPT_PRIVATE, "PRIVATE"}};

std::string set_text(Easy& easy, CURLoption option, char* text)
{
    if (option == CURLOPT_POSTFIELDS)
    {
        easy.body = text;
    }
    if (option == CURLOPT_PRIVATE)
    {
        easy.priv = text;
    }
    return kTexts.at(option) + "=" + text;
}

std::string set_write_function(Easy& easy, curl_write_callback function)
{
    easy.write = function;
    const bool ours = reinterpret_cast<void*>(function) == reinterpret_cast<void*>(&_PostOnWrite);
    return ours ? "WRITEFUNCTION=_PostOnWrite" : "WRITEFUNCTION=unknown";
}

std::string set_write_data(Easy& easy, void* data)
{
    easy.write_data = data;
    return data == FakeCurl::Get().poster ? "WRITEDATA=poster" : "WRITEDATA=unknown";
}

FakeRound next_round(const Multi& multi)
{
    std::deque<FakeRound>& rounds = FakeCurl::Get().rounds;
    if (!rounds.empty())
    {
        FakeRound round = rounds.front();
        rounds.pop_front();
        return round;
    }
    FakeRound last;
    last.running = 0;
    for (const Easy* easy : multi.transfers)
    {
        last.ends.push_back({easy->number});
    }
    return last;
}

void queue_messages(Multi& multi)
{
    for (const FakeEnd& end : multi.round.ends)
    {
        CURLMsg message{};
        message.msg = end.kind;
        message.easy_handle = &easy_number(end.easy);
        message.data.result = end.code;
        multi.messages.push_back(message);
    }
}

} // namespace

FakeCurl& FakeCurl::Get()
{
    static FakeCurl fake;
    return fake;
}

void FakeCurl::Clear()
{
    *this = FakeCurl{};
    CleanUp();
}

size_t FakeCurl::Reply(CURL* handle, const std::string& data, size_t element_size)
{
    Easy& easy = easy_of(handle);
    std::vector<char> bytes(data.begin(), data.end()); // exactly these, no end mark behind them
    return easy.write(bytes.data(), element_size, bytes.size() / element_size, easy.write_data);
}

int FakeCurl::OpenHandles() const
{
    const auto is_open = [](const auto& handle)
    {
        return handle.open;
    };
    return static_cast<int>(std::count_if(easies.begin(), easies.end(), is_open) +
                            std::count_if(multis.begin(), multis.end(), is_open));
}

void FakeCurl::CleanUp()
{
    easies.clear();
    multis.clear();
}

extern "C"
{
    CURLcode curl_global_init(long flags)
    {
        add_event("curl_global_init(" + std::to_string(flags) + ")");
        return CURLE_OK;
    }

    void curl_global_cleanup()
    {
        add_event("curl_global_cleanup");
    }

    CURL* curl_easy_init()
    {
        const int number = static_cast<int>(easies.size()) + 1;
        if (number == FakeCurl::Get().fail_easy_init)
        {
            FakeCurl::Get().fail_easy_init = 0;
            add_event("easy_init failed");
            return nullptr;
        }
        easies.emplace_back().number = number;
        add_event(name(easies.back()) + "=easy_init");
        return &easies.back();
    }

    CURLcode curl_easy_setopt(CURL* handle, CURLoption option, ...)
    {
        Easy& easy = easy_of(handle);
        va_list args;
        va_start(args, option);
        std::string shown = "unknown option " + std::to_string(option);
        if (kNumbers.count(option) != 0)
        {
            shown = kNumbers.at(option) + "=" + std::to_string(va_arg(args, long));
        }
        else if (kTexts.count(option) != 0)
        {
            shown = set_text(easy, option, va_arg(args, char*));
        }
        else if (option == CURLOPT_WRITEFUNCTION)
        {
            shown = set_write_function(easy, va_arg(args, curl_write_callback));
        }
        else if (option == CURLOPT_WRITEDATA)
        {
            shown = set_write_data(easy, va_arg(args, void*));
        }
        va_end(args);
        add_event(name(easy) + " " + shown);
        return CURLE_OK;
    }

    CURLcode curl_easy_perform(CURL* handle)
    {
        FakeCurl& fake = FakeCurl::Get();
        add_event(name(easy_of(handle)) + " perform " + easy_of(handle).body);
        if (const auto hook = fake.on_perform) // a copy: it may set another one
        {
            hook(handle);
        }
        if (fake.easy_results.empty())
        {
            return CURLE_OK;
        }
        const CURLcode code = fake.easy_results.front();
        fake.easy_results.pop_front();
        return code;
    }

    void curl_easy_cleanup(CURL* handle)
    {
        Easy& easy = easy_of(handle);
        add_event(name(easy) + " cleanup");
        easy.open = false;
    }

    CURLcode curl_easy_getinfo(CURL* handle, CURLINFO info, ...)
    {
        EXPECT_EQ(info, CURLINFO_PRIVATE);
        va_list args;
        va_start(args, info);
        *va_arg(args, void**) = easy_of(handle).priv;
        va_end(args);
        return CURLE_OK;
    }

    const char* curl_easy_strerror(CURLcode code)
    {
        static std::string text;
        text = code == CURLE_OK ? "No error" : "text of " + std::to_string(code);
        return text.c_str();
    }

    CURLM* curl_multi_init()
    {
        if (FakeCurl::Get().fail_multi_init)
        {
            return nullptr;
        }
        const int number = static_cast<int>(multis.size()) + 1;
        multis.emplace_back().number = number;
        add_event(name(multis.back()) + "=multi_init");
        return &multis.back();
    }

    CURLMcode curl_multi_setopt(CURLM* handle, CURLMoption option, ...)
    {
        EXPECT_EQ(option, CURLMOPT_MAXCONNECTS);
        va_list args;
        va_start(args, option);
        const long value = va_arg(args, long);
        va_end(args);
        add_event(name(multi_of(handle)) + " MAXCONNECTS=" + std::to_string(value));
        return CURLM_OK;
    }

    CURLMcode curl_multi_add_handle(CURLM* handle, CURL* easy)
    {
        if (FakeCurl::Get().fail_add)
        {
            return CURLM_INTERNAL_ERROR;
        }
        Multi& multi = multi_of(handle);
        multi.transfers.push_back(&easy_of(easy));
        add_event(name(multi) + " add " + name(easy_of(easy)));
        return CURLM_OK;
    }

    CURLMcode curl_multi_perform(CURLM* handle, int* running)
    {
        Multi& multi = multi_of(handle);
        multi.round = next_round(multi);
        std::string event = name(multi) + " perform";
        for (const Easy* easy : multi.transfers)
        {
            event += std::string(" ") + easy->body;
        }
        add_event(event);
        if (multi.round.running != FakeRound::kUnchanged)
        {
            *running = multi.round.running;
        }
        for (const auto& [number, piece] : multi.round.replies)
        {
            FakeCurl::Get().Reply(&easy_number(number), piece);
        }
        queue_messages(multi);
        return multi.round.performed;
    }

    CURLMcode curl_multi_timeout(CURLM* handle, long* milliseconds)
    {
        *milliseconds = multi_of(handle).round.timeout_ms;
        return CURLM_OK;
    }

    CURLMcode curl_multi_wait(CURLM* handle, curl_waitfd* extra, unsigned int count, int timeout,
                              int* ready)
    {
        const Multi& multi = multi_of(handle);
        EXPECT_EQ(extra, nullptr);
        EXPECT_EQ(count, 0U);
        add_event(name(multi) + " wait " + std::to_string(timeout));
        *ready = multi.round.ready;
        Recorder::Get().clock_ms += multi.round.waited_ms;
        Recorder::Get().steady_clock_ms += multi.round.waited_ms;
        return multi.round.waited;
    }

    CURLMsg* curl_multi_info_read(CURLM* handle, int* queued)
    {
        Multi& multi = multi_of(handle);
        if (multi.messages.empty())
        {
            *queued = 0;
            return nullptr;
        }
        read_message = multi.messages.front();
        multi.messages.pop_front();
        *queued = static_cast<int>(multi.messages.size());
        return &read_message;
    }

    CURLMcode curl_multi_remove_handle(CURLM* handle, CURL* easy)
    {
        Multi& multi = multi_of(handle);
        multi.transfers.erase(
            std::remove(multi.transfers.begin(), multi.transfers.end(), &easy_of(easy)),
            multi.transfers.end());
        add_event(name(multi) + " remove " + name(easy_of(easy)));
        read_message = {};
        return CURLM_OK;
    }

    CURLMcode curl_multi_cleanup(CURLM* handle)
    {
        Multi& multi = multi_of(handle);
        add_event(name(multi) + " cleanup");
        multi.open = false;
        return CURLM_OK;
    }
}
