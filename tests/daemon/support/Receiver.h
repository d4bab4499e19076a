// The web server that a daemon posts to: records every body in the order of arrival and answers
// each path as it is told.
//
// Runs its own threads; every function may be called at any time. Listens on 127.0.0.1 at a port
// that the system picks.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace httplib
{
class Server;
}

struct Identity; // a certificate and its key, see Certificates.h

class CReceiver
{
public:
    CReceiver();                                  // http
    explicit CReceiver(const Identity& identity); // https
    ~CReceiver();
    CReceiver(const CReceiver&) = delete;
    CReceiver& operator=(const CReceiver&) = delete;

    std::string Url(const std::string& path = "/post") const;

    // What a path answers from now on; every other one answers 200 and "ok".
    void Answer(const std::string& path, int status, const std::string& text);
    void AnswerBytes(const std::string& path, size_t bytes); // 200 and that many letters

    // A held path takes requests and answers none before it is released; with a number, the
    // bodies before that one (from 0) are answered as ever.
    void Hold(const std::string& path = "/post", size_t from = 0);
    void Release(const std::string& path = "/post");

    // Body number index of a path, from 0; waits for it. A text in parentheses says that it never
    // came.
    std::string Body(size_t index, const std::string& path = "/post");

    // All bodies so far; with a count, waits until there are that many.
    std::vector<std::string> Bodies(const std::string& path = "/post");
    std::vector<std::string> WaitBodies(size_t count, const std::string& path = "/post");

    // Content-Type and Cookie of the last request of a path.
    std::string ContentType(const std::string& path = "/post");
    std::string Cookie(const std::string& path = "/post");

private:
    struct Reply
    {
        int status = 200;
        std::string text = "ok";
        size_t bytes = 0;
    };
    struct Record
    {
        std::string path;
        std::string body;
        std::string content_type;
        std::string cookie;
    };

    void Serve();
    size_t Keep(Record record); // its number on its path
    Reply AwaitReply(const std::string& path, size_t number);
    std::vector<std::string> BodiesLocked(const std::string& path) const;

    std::mutex m_mutex; // guards what follows, up to m_changed
    std::vector<Record> m_records;
    std::map<std::string, Reply> m_replies;
    std::map<std::string, size_t> m_held; // from which body on
    bool m_stopping = false;
    std::condition_variable m_changed;

    std::string m_strScheme;
    std::unique_ptr<httplib::Server> m_server;
    int m_port = 0;
    std::thread m_thread;
};
