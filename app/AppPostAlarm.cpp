// Alarms. Runs in signal context: the whole routine is called from the alarm signal's handler, on
// a thread that is at rest, so it may allocate, log, query and post like any other code. It shares
// with the main thread, which goes on working, only what nobody changes after start-up, the
// published device names and the log; the alarm database is its own.
#include "app/AppBodyWriter.h"
#include "app/AppPause.h"
#include "app/AppPostQueue.h"
#include "app/AppQueries.h"
#include "app/AppRows.h"
#include "app/AppRules.h"

#include <cstring>

#include "app/AlarmSignal.h"
#include "app/AppBodyKinds.h"
#include "vkPub/vkLog.h"

namespace
{

constexpr size_t kAlarmBodyBytes = 2048;
constexpr int kQueryFailures = 5; // in one call, not reset by a success
constexpr int kQueryPauseMs = 200;

// An alarm as the table has it, copied out before the query is freed.
struct Alarm
{
    int did = 0;
    int sid = 0;
    int type = 0;
    bool cleared = false;
    int mask = 0;
    std::string updated;
    std::string title;
    std::string image;
};

// What one call knows from pass to pass.
struct AlarmRun
{
    int failures = 0;
    bool has_last = false;
    int last_did = 0;
    int64_t posts = 0;
};

Alarm read_alarm(const CRows& rows)
{
    const BodyKindRow& row = body_kind(BodyKind::kAlarm);
    Alarm alarm;
    alarm.did = rows.Int("DID");
    VKLOG_TRACE("CAppPost::OnAlmIns DID: %d\r\n", alarm.did);
    alarm.sid = rows.Int(row.Column(HeadValue::kSid));
    alarm.type = rows.Int(row.Column(HeadValue::kType));
    alarm.cleared = is_alarm_cleared(rows.Int(row.Column(HeadValue::kState)));
    alarm.updated = rows.Str(row.Column(HeadValue::kTime));
    alarm.title = rows.Str("AlmBrief");
    alarm.mask = rows.Int("AlmMask");
    alarm.image = rows.Str("AlmImg");
    return alarm;
}

const char* level_text(int alarm_class)
{
    switch (alarm_class)
    {
    case 1:
    case 2:
    case 3:
    case 5:
    case 6:
    case 7:
    case 8:
        return "严重";
    case 4:
        return "重要";
    case 9:
    case 13:
        return "次要";
    default:
        return "警告";
    }
}

// The class that a title of class 9 stands for; the last word found wins.
int class_by_title(const std::string& title)
{
    static constexpr struct
    {
        const char* word;
        int alarm_class;
    } kWords[] = {{"漏", 6}, {"红", 10}, {"门", 11}, {"放", 12}};

    int alarm_class = kTitledClass;
    for (const auto& entry : kWords)
    {
        if (title.find(entry.word) != std::string::npos)
        {
            alarm_class = entry.alarm_class;
        }
    }
    return alarm_class;
}

// The ways in which people are told, each word with a blank before it.
std::string suggestion_text(int mask)
{
    static constexpr const char* kWays[] = {" 声光", " 语音", " 短信", " 彩信",
                                            " 电话", " 邮件", " POST"};
    std::string text;
    int bit = 1;
    for (const char* way : kWays)
    {
        text += (mask & bit) != 0 ? way : "";
        bit <<= 1;
    }
    return text;
}

std::string device_name(const CAppPost& app, int sid)
{
    const auto names = std::atomic_load(&app.m_pAlmNames);
    if (names == nullptr)
    {
        return {};
    }
    const auto found = names->find(sid);
    return found != names->end() ? found->second : std::string();
}

// What an alarm's body has behind its head.
void append_alarm(CBodyWriter& body, const CRows& rows, const Alarm& alarm, const char* level)
{
    const BodyKindRow& row = body_kind(BodyKind::kAlarm);
    const PartSource cleared{PartOrigin::kText, &rows, row.Column(HeadValue::kTime)};
    const PartSource not_cleared{PartOrigin::kNotCleared};
    body.Field("level", level, {PartOrigin::kAlarmLevel, &rows, row.Column(HeadValue::kType)});
    body.Field("title", alarm.title, {PartOrigin::kText, &rows, "AlmBrief"});
    body.Field("suggestion", suggestion_text(alarm.mask), {PartOrigin::kNumber, &rows, "AlmMask"});
    body.Field("location", "");
    body.Field("datainfo", "");
    body.Field("recovertime", alarm.cleared ? alarm.updated : "",
               alarm.cleared ? cleared : not_cleared);
    body.Field("AlmImg", alarm.image, {PartOrigin::kText, &rows, "AlmImg"});
}

void compose_alarm(CAppPost& app, const CRows& rows, const Alarm& alarm, char* buffer)
{
    int shown_class = alarm_class(alarm.type);
    const char* level = level_text(shown_class); // before the title is looked at, on purpose
    if (shown_class == kTitledClass)
    {
        shown_class = class_by_title(alarm.title);
    }
    const std::string name = device_name(app, alarm.sid);
    const char* state = app.GetState(alarm_state(alarm.cleared));

    CBodyWriter body(buffer, kAlarmBodyBytes);
    body.Head(app.m_strFmt0, {app.m_strDept.c_str(), alarm.sid, alarm.type, 0, name.c_str(),
                              shown_class, alarm.updated.c_str(), state, BodyKind::kAlarm, &rows});
    append_alarm(body, rows, alarm, level);
    body.LogLeftOut("sid", alarm.sid);
}

// Alarms for a server that does not answer take the request thread for minutes. No lock of its is
// held while it rests, which is where the routine interrupts it.
void poll_between_posts(CAppPost& app)
{
    if (!on_request_thread())
    {
        return; // the thread is at work itself, or there is none
    }
    try
    {
        poll_requests(app);
    }
    catch (...) // out of memory: a request lost must not leave an alarm that was posted unmarked
    {
    }
}

void post_alarm(CAppPost& app, AlarmRun& run, const char* body)
{
    for (const std::string& url : app.m_vAlmUrls)
    {
        if (run.posts++ > 0)
        {
            poll_between_posts(app);
        }
        const bool sent = app.DoPost(body, url.c_str()) != 0;
        VKLOG_TRACE("CAppPost::OnAlmIns post %s %s\r\n", url.c_str(), sent ? "ok" : "fail");
    }
}

// Starts a query on the oldest alarm not yet sent; false when it failed too often.
bool query_alarm(CRows& rows, AlarmRun& run)
{
    while (!rows.Open(alarm_query()))
    {
        ++run.failures;
        VKLOG_TRACE("[CAppPost::OnAlmIns] : qryExec Error! iqry=%d, Try Count: %d\n", rows.Index(),
                    kQueryFailures - run.failures);
        if (run.failures >= kQueryFailures)
        {
            return false;
        }
        pause_ms(kQueryPauseMs);
    }
    return true;
}

// Posts and marks the oldest alarm not yet sent. False when there is none or the call must end.
bool post_next_alarm(CAppPost& app, AlarmRun& run)
{
    CRows rows(*app.pDbAlm, CRows::AtEnd::kLeft); // by a failure to Close, on purpose
    if (!query_alarm(rows, run))
    {
        return false;
    }
    if (rows.End())
    {
        rows.Free();
        return false;
    }
    const Alarm alarm = read_alarm(rows);
    if (run.has_last && alarm.did == run.last_did)
    {
        // Its update left it unmarked: going on would post it for ever.
        VKLOG_TRACE("CAppPost::OnAlmIns DID: %d cannot be marked as sent\r\n", alarm.did);
        rows.Free();
        return false;
    }
    run.has_last = true;
    run.last_did = alarm.did;

    char body[kAlarmBodyBytes];
    compose_alarm(app, rows, alarm, body);
    rows.Free();
    post_alarm(app, run, body);
    app.pDbAlm->Exec(mark_alarm(alarm.did).c_str());
    return true;
}

} // namespace

void CAppPost::OnAlmIns()
{
    if (m_strAlmUrl.empty() || pDbAlm == nullptr)
    {
        return; // also what a signal before the end of start-up finds
    }
    try
    {
        pDbAlm->Open(nullptr, 0);
        AlarmRun run;
        while (post_next_alarm(*this, run))
        {
        }
    }
    catch (const CppSQLite3Exception& e)
    {
        // An open query is left to Close, on purpose.
        VKLOG_TRACE("[CAppPost::OnAlmIns] db exception: %d %s\r\n", e.errorCode(),
                    e.errorMessage());
    }
    pDbAlm->Close();
    VKLOG_TRACE("CAppPost::OnAlmIns end\r\n");
}
