// libcurl, defined by the test program: nothing is sent; what is asked of it goes into the
// recorder's events, and what it answers is scripted.
//
//     curl_global_init(3)  curl_global_cleanup                    the process
//     e1=easy_init  e1 URL=http://h/  e1 TIMEOUT=15               an easy handle and its options
//     e1 perform <body>  e1 cleanup
//     m1=multi_init  m1 MAXCONNECTS=2  m1 add e1  m1 perform      a multi handle
//     m1 wait 200  m1 remove e1  m1 cleanup
//
// Handles are counted from 1. A handle that was never made, or is cleaned up already, fails the
// test. One thread.
#pragma once

#include <cstddef>
#include <curl/curl.h>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// A message for curl_multi_info_read: the end of transfer number easy, or another kind.
struct FakeEnd
{
    int easy = 1;
    CURLcode code = CURLE_OK;
    CURLMSG kind = CURLMSG_DONE;
};

// What one round of curl_multi_perform and curl_multi_wait answers.
struct FakeRound
{
    static constexpr int kUnchanged = -1;

    int running = 1; // kUnchanged: libcurl did not come to set it
    std::vector<FakeEnd> ends;
    CURLMcode performed = CURLM_OK;
    CURLMcode waited = CURLM_OK;
    long timeout_ms = 200;
    int ready = 1;                                    // descriptors that curl_multi_wait saw
    int waited_ms = 0;                                // by how much the clocks go on meanwhile
    std::vector<std::pair<int, std::string>> replies; // transfer's number and a piece for it
};

class FakeCurl
{
public:
    static FakeCurl& Get();
    void Clear();

    // Rounds are used up one by one; then every round ends all transfers well.
    std::deque<FakeRound> rounds;

    std::deque<CURLcode> easy_results; // of curl_easy_perform; CURLE_OK when used up
    int fail_easy_init = 0;            // the so manieth curl_easy_init gives null; 0: none
    bool fail_multi_init = false;
    bool fail_add = false; // curl_multi_add_handle refuses

    const void* poster = nullptr;               // shown as "poster" when given as an option
    std::function<void(CURL* easy)> on_perform; // in each curl_easy_perform

    // Lets the server answer: calls the write function that was set. Its result.
    size_t Reply(CURL* easy, const std::string& data, size_t element_size = 1);

    int OpenHandles() const; // easy and multi handles that are not cleaned up
    void CleanUp();          // counts all handles as cleaned up: the test made them itself
};
