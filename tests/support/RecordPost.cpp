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
    if (recorder.onPost)
    {
        recorder.onPost();
    }
    if (recorder.postResults.empty())
    {
        return 1;
    }
    const int result = recorder.postResults.front();
    recorder.postResults.erase(recorder.postResults.begin());
    return result;
}
