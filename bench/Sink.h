// The least HTTP server: takes one post after the other and answers each with 200 and two bytes.
//
// Listens on 127.0.0.1 at a port of its own, with a thread of its own. The hook sees each body
// before it is answered, that is while the poster waits; it runs on the sink's thread. A sink may
// be given a delay before each answer. Throws std::runtime_error when it cannot listen.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>

class CSink
{
public:
    using Hook = std::function<void(const std::string& body)>;

    explicit CSink(Hook on_body, std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    ~CSink(); // ends the thread; posters must have ended before
    CSink(const CSink&) = delete;
    CSink& operator=(const CSink&) = delete;

    std::string Url() const;

private:
    void Serve();
    void Answer(int connection);

    Hook m_onBody;
    std::chrono::milliseconds m_delay;
    int m_listener = -1;
    int m_port = 0;
    std::thread m_thread;
};
