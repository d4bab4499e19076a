// What a test program's collaborators saw: one list of events, in order, over all of them.
//
// The record_* object libraries define collaborators of the poster (log writer, pauses and clock,
// tray, transport) and write here; FakeDb does too. A test states an order as a list of texts:
//
//     open(NULL,-2)  close  sql <statement>  free  exec <statement>   the database
//     tray(0,1)  pause 3000  log <message>                            tray, pauses, log
//     post <body>  post to <url> <body>                               the transport
//
// One list for the process, cleared by Clear(), which the fixtures call. One thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// One call of DoPost.
struct Posted
{
    std::string body;
    std::string url;  // empty: the configured ones
    int row = 0;      // m_iPostRow at that moment
    bool own = false; // whether the body was the poster's m_szPostBuf
};

// Thrown out of a pause to end a routine that never returns.
struct EndOfTest
{
};

class Recorder
{
public:
    static Recorder& Get();
    void Clear();

    void Add(std::string event) { m_events.push_back(std::move(event)); }

    const std::vector<std::string>& Events() const { return m_events; } // all
    std::vector<std::string> Steps() const;                             // all but the log
    std::vector<std::string> Logs() const; // the messages, without "log "
    std::vector<std::string> Sql() const;  // the statements of queries, without "sql "
    std::vector<int> Pauses() const;       // in milliseconds
    long PauseSum() const;
    int Count(const std::string& event) const;                     // events of exactly this text
    int CountStarting(const std::string& start) const;             // events that begin with it
    std::vector<std::string> Between(const std::string& from,      // events from the first one that
                                     const std::string& to) const; // begins so, up to the next

    std::vector<Posted> posts;
    std::vector<std::string> Bodies() const; // of posts
    std::vector<int> post_results;           // of the next calls of DoPost; 1 when used up

    // The clocks: what wall_clock_ms, steady_ms and local_time_stamp answer. Stamps are used up one
    // by one and the last one stays.
    int64_t clock_ms = 1714536000000;
    bool clock_works = true;
    int64_t steady_clock_ms = 5000;
    std::vector<std::string> stamps{"2024-05-01 12:00:00"};

    // What else happens at an event. A pause hook may throw EndOfTest.
    std::function<void(int ms)> on_pause;
    std::function<void()> on_post;
    std::function<void(int wParam, int lParam)> on_tray;

private:
    std::vector<std::string> m_events;
};
