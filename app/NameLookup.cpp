#include "app/NameLookup.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <list>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

namespace
{

std::atomic<int> g_limit_seconds{0};

using Text = std::optional<std::string>;

Text text_of(const char* text)
{
    return text != nullptr ? Text(text) : Text();
}

// What getaddrinfo is asked, copied: who asked may be gone before the answer comes.
struct Question
{
    Question(const char* asked_node, const char* asked_service, const addrinfo* asked_hints)
        : node(text_of(asked_node)), service(text_of(asked_service)),
          has_hints(asked_hints != nullptr)
    {
        if (has_hints)
        {
            hints.ai_flags = asked_hints->ai_flags;
            hints.ai_family = asked_hints->ai_family;
            hints.ai_socktype = asked_hints->ai_socktype;
            hints.ai_protocol = asked_hints->ai_protocol;
        }
    }

    auto Key() const
    {
        return std::tie(node, service, has_hints, hints.ai_flags, hints.ai_family,
                        hints.ai_socktype, hints.ai_protocol);
    }
    const char* Node() const { return node ? node->c_str() : nullptr; }
    const char* Service() const { return service ? service->c_str() : nullptr; }
    const addrinfo* Hints() const { return has_hints ? &hints : nullptr; }

    Text node;
    Text service;
    bool has_hints;
    addrinfo hints{};
};

// Threads that are started meanwhile take no signal: the handler of alarms would have to pass it
// on, and libcurl's own threads are there for a moment only.
class CSignalsBlocked
{
public:
    CSignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~CSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    CSignalsBlocked(const CSignalsBlocked&) = delete;
    CSignalsBlocked& operator=(const CSignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

} // namespace

struct CNameLookups::Lookup
{
    explicit Lookup(Question asked) : question(std::move(asked)) {}

    const Question question;

    // Guarded by the state's mutex.
    bool is_awaited = true;
    bool is_done = false;
    int code = 0;
    int error = 0; // errno, which EAI_SYSTEM refers to
    addrinfo* found = nullptr;
};

struct CNameLookups::State
{
    using LookupPtr = std::shared_ptr<Lookup>;

    explicit State(Function resolver) : function(std::move(resolver)) {}

    // The lookup of that question which nobody waits for any more, if there is one. Locked.
    LookupPtr Abandoned(const Question& question)
    {
        for (const LookupPtr& lookup : under_way)
        {
            if (!lookup->is_awaited && lookup->question.Key() == question.Key())
            {
                lookup->is_awaited = true;
                return lookup;
            }
        }
        return nullptr;
    }

    // On a thread of its own.
    void Run(const LookupPtr& lookup)
    {
        const Question& question = lookup->question;
        addrinfo* found = nullptr;
        const int code = function(question.Node(), question.Service(), question.Hints(), &found);
        const int error = errno;

        const std::lock_guard<std::mutex> lock(mutex);
        lookup->code = code;
        lookup->error = error;
        lookup->found = code == 0 ? found : nullptr;
        lookup->is_done = true;
        under_way.remove(lookup);
        if (!lookup->is_awaited && lookup->found != nullptr)
        {
            freeaddrinfo(lookup->found);
        }
        changed.notify_all();
    }

    const Function function;
    std::mutex mutex; // guards what follows, and what the lookups say of themselves
    std::list<LookupPtr> under_way;
    std::condition_variable changed;
};

CNameLookups::CNameLookups(Function function)
    : m_state(std::make_shared<State>(std::move(function)))
{
}

int CNameLookups::Find(const char* node, const char* service, const addrinfo* hints,
                       addrinfo** found, int limit_ms)
{
    const std::shared_ptr<State> state = m_state;
    const Question question(node, service, hints);

    std::unique_lock<std::mutex> lock(state->mutex);
    std::shared_ptr<Lookup> lookup = state->Abandoned(question);
    if (lookup == nullptr)
    {
        lookup = std::make_shared<Lookup>(question);
        const auto place = state->under_way.insert(state->under_way.end(), lookup);
        try
        {
            const CSignalsBlocked blocked;
            std::thread([=] { state->Run(lookup); }).detach();
        }
        catch (...)
        {
            state->under_way.erase(place);
            throw;
        }
    }

    const auto limit = std::chrono::milliseconds(limit_ms);
    if (!state->changed.wait_for(lock, limit, [&] { return lookup->is_done; }))
    {
        lookup->is_awaited = false;
        return EAI_AGAIN;
    }
    if (lookup->code == 0)
    {
        *found = lookup->found;
    }
    errno = lookup->error;
    return lookup->code;
}

void limit_name_lookups(int limit_s)
{
    g_limit_seconds = limit_s;
}

int name_lookup_limit_s()
{
    return g_limit_seconds;
}
