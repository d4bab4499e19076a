// The transport, recording: "post <body>" or "post to <url> <body>".
#include "app/AppPost.h"
#include "tests/support/Recorder.h"

int CAppPost::DoPost(const char* msg, const char* url)
{
    Recorder& recorder = Recorder::Get();
    const Posted post{msg != nullptr ? msg : m_szPostBuf, url != nullptr ? url : "", m_iPostRow,
                      msg == nullptr};
    recorder.posts.push_back(post);
    recorder.Add("post " + (post.url.empty() ? "" : "to " + post.url + " ") + post.body);
    if (recorder.on_post)
    {
        recorder.on_post();
    }
    if (recorder.post_results.empty())
    {
        return 1;
    }
    const int result = recorder.post_results.front();
    recorder.post_results.erase(recorder.post_results.begin());
    return result;
}
