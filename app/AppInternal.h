// What the source files of the poster share: pauses and clock, queries with their retries, the
// body writer, and the places that log messages name. Main thread, but for what says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/AppPost.h"

// --- Time (AppPause.cpp, AppClock.cpp); any thread -----------------------------------------

// Waits that long, also when a signal comes in between. Nothing for 0 and less.
void pause_ms(int ms);

// Whether the calling thread is inside pause_ms, that is holds no lock and is in the middle of
// nothing. For the alarm signal's handler.
bool at_rest();

// Milliseconds since 1970 by the wall clock; false: ms is left as it was.
bool wall_clock_ms(int64_t& ms);

// Milliseconds since some moment, by a clock that nobody sets.
int64_t steady_ms();

// The local time as "2024-05-01 12:00:00".
std::string local_time_stamp();

constexpr int kPassPauseMs = 20;             // between passes, steps and devices
constexpr int kQueryRetryPauseMs = 3000;     // before a query that could not start is tried again
constexpr int kQueryRetries = 10;            // tries after the first one
constexpr int kExceptionRetryPauseMs = 2000; // before an item that threw is tried again
constexpr int kExceptionTries = 3;           // tries of one item in a row

// --- Configuration (AppPostConfig.cpp) ------------------------------------------------------

// What the daemon finds in its working directory.
constexpr char kConfigFile[] = "vkApp.ini";
constexpr char kDataDb[] = "tmp/dbDat0.db3";
constexpr char kAlarmDb[] = "tmp/dbData.db3";

// A URL list this long is a slip of the pen; each key of it costs two log lines at start-up.
constexpr int kMaxUrlKeys = 1000;

// Reads kConfigFile and fills the members that it configures. Before any other thread starts.
void load_configuration(CAppPost& app);

// --- Message places -------------------------------------------------------------------------

// Messages that begin with "%s %s line=%d" name this source, their function and these lines.
// The numbers belong to the messages: log readers look for them, so they stay what they are.
constexpr char kSource[] = "AppPost";
constexpr int kLinePostNormalServe = 1229;
constexpr int kLinePostGeneralServe = 1336;
constexpr int kLinePostExtIndex = 1952;
constexpr int kLineEndProcMsg = 2390;
constexpr int kLineProcMsgReceived = 2735;
constexpr int kLineMsgrecvEnter = 2760;
constexpr int kLineMsgrecvEntry = 2776;
constexpr int kLineMsgrecvPost = 2784;
constexpr int kLineMsgrecvUnknown = 2790;

// --- Queues (AppPostQueue.cpp) ----------------------------------------------------------------

constexpr int kTrayQueueKey = 0x9000;
constexpr int kRequestQueueKey = 0x9500;

// The queue of that key, made when it does not exist. -1 when the system has none to give.
int get_queue(int key);

// Takes one message from the request queue, if one waits there, and records the request that it
// makes. On the request thread, which holds no lock meanwhile: in its loop, and between the alarms
// that it posts.
void poll_requests(CAppPost& app);

// --- Text -----------------------------------------------------------------------------------

// The formatted text, of any length.
std::string format_text(const char* format, ...) __attribute__((format(printf, 1, 2)));

// --- Queries (AppPostQuery.cpp) --------------------------------------------------------------

// Begin and end a unit of work on the data database. What it throws is logged and goes no further:
// the queries in between tell whether the database can be used.
void begin_work(CAppPost& app);
void end_work(CAppPost& app);

// A text of the library's, as the empty text where a library of another maker says null.
inline const char* text_or_empty(const char* text)
{
    return text != nullptr ? text : "";
}

// Frees the query, if one is open, on the way out of a failure that is already being handled: an
// exception of the database is swallowed. iqry is -1 afterwards.
void free_quietly(DbDatabase& db, int& iqry);

// Starts a query on the data database; while it cannot start, up to kQueryRetries times: tray
// tick, pause, another try, log. The tick comes before the pause, so that the tray process never
// takes the waiting daemon for a hung one. The result is the index, negative when given up.
int query_with_retry(CAppPost& app, const std::string& sql);

// --- Form bodies (AppPostFields.cpp) ----------------------------------------------------------

// The eight values of a body's head, in the order in which Fmt0 takes them. Borrows its texts.
struct CHead
{
    const char* suid;
    int sid;
    int stype;
    int stag1;
    const char* sname;
    int subsys;
    const char* dtupd;
    const char* state;
};

// Head format when Fmt0 is not configured or not usable.
constexpr char kDefaultFmt0[] =
    "suid=%s&sid=%d&stype=%d&stag1=%d&sname=%s&subsys=%d&dtupd=%s&state=%s";

// Whether a format may take the eight values of a head: texts where texts stand, numbers where
// numbers stand, at most eight, with flags, width and precision, and with an integer's size, which
// changes nothing ("%ld" is "%d"). The empty text when it may; else what is wrong with which
// conversion.
std::string head_format_problem(const std::string& format);

// How a part of a body is made.
enum class BodyPart
{
    kHead,  // one group of Fmt0, from "&" to "&"
    kPair,  // one "&name=value"
    kGroup, // several pairs, or one, of numbers only
};

// Told about every part that a body has got, in order (AppBodyPart.cpp): its text as it stands in
// the body, not terminated. The daemon has no use for it; a program that explains bodies links a
// definition of its own.
void body_part(BodyPart part, const char* text, size_t length);

// Writes one form body into a buffer of fixed size and is the only one that does.
//
// Borrows the buffer. The text is NUL-terminated after every call. A group ("&name=value") that
// does not fit is left out whole and noted, so the body stays valid and says less; smaller groups
// behind it are still taken. Values are not escaped: that is the wire format.
class CBodyWriter
{
public:
    // Goes on at position iPos of a buffer of the given size, which holds iPos bytes already.
    CBodyWriter(char* buffer, size_t size, int iPos = 0);

    // Writes the head. The format has passed head_format_problem.
    void Head(const std::string& format, const CHead& head);

    // "&name=value"; Pair writes nothing when the value is empty.
    void Pair(const std::string& name, const std::string& value);
    void Field(const std::string& name, const std::string& value);

    // A group of pairs, taken or left out as one.
    void Group(const char* format, ...) __attribute__((format(printf, 2, 3)));

    int Position() const { return static_cast<int>(m_pos); }           // where the body ends
    int Appended() const { return static_cast<int>(m_pos - m_start); } // bytes written by this one

    // Logs in one line what was left out, if anything was: of what, and the number that names it.
    void LogLeftOut(const char* what, int number) const;

private:
    struct HeadCursor;
    bool HeadGroup(HeadCursor& cursor, const CHead& head);
    bool Put(const char* text, size_t length);
    void LeaveOut(const char* group);

    char* m_buffer;
    size_t m_size; // with the terminator
    size_t m_start;
    size_t m_pos;
    int m_leftOut = 0;
    std::string m_leftOutNames; // the first few
};

// The head of a body made from the current row of a query that holds the joined columns of tbSM:
// name, type, place and state as the row has them. Valid as long as the row is.
CHead row_head(CAppPost& app, int iqry, const char* dtupd);

// Appends "&name=value" for each column first to end - 1 of the current row that renders to a
// text. Columns that no result has, below 0 or behind its end, render to nothing.
void append_columns(CAppPost& app, CBodyWriter& body, int iqry, int type, int first, int end);

// --- Device bodies (AppPostDevice.cpp) ---------------------------------------------------------

// What became of one device's row.
struct CDeviceBody
{
    bool due = false; // a row was there and its State is not negative: the body is to be posted
    int type = 0;
    int length = 0;
};

// The query of one device's row: name and place from tbSM, then the table's own columns.
std::string device_query(const char* table, int sid);

// Writes head and columns of the query's first row into the buffer (kPostBufBytes long).
CDeviceBody compose_device(CAppPost& app, int iqry, const char* table, char* buffer);

// Extension columns by the keys of the device type's section, then the detail rows of the table,
// appended to a body that is due.
void append_extras(CAppPost& app, int sid, const char* table, CDeviceBody& body, char* buffer);

// Serves waiting requests, if any, between two items of the routine that asks.
void serve_requests(CAppPost& app, const char* function, int line);

// --- Encoding (AppPostEncoding.cpp); any thread --------------------------------------------------

constexpr char kUtf8[] = "UTF-8";

using CBodyText = std::unique_ptr<char[]>;

// The body as it goes out: a copy, in the configured encoding. Null when memory ran out.
CBodyText outgoing_body(const char* body);

// --- Replies (AppPostReply.cpp); any thread
// -------------------------------------------------------

// The part of the replies to one post that is logged: so many bytes and pieces, and none once the
// post's time is over. Writing a log line may take a board's flash 10 ms, and libcurl looks at its
// time limit only between two reads, each of which may hold thousands of pieces.
//
// While it lives, the thread's posts are counted by it. One that is made in the middle of it, by
// the alarm routine, has a share of its own.
class CReplyShare
{
public:
    explicit CReplyShare(int timeout_s); // 0: no limit of time
    ~CReplyShare();
    CReplyShare(const CReplyShare&) = delete;
    CReplyShare& operator=(const CReplyShare&) = delete;

    // Whether the next piece is to be logged. The first one that is not is logged as such.
    bool Take(size_t bytes);

private:
    CReplyShare* m_outer;
    size_t m_bytes = 0;
    int m_pieces = 0;
    int64_t m_beginMs;
    int64_t m_limitMs;
    bool m_isUsedUp = false;
};

// --- Alarm names (AppPostTables.cpp) ------------------------------------------------------------

// Publishes the present device names to the alarm routine, which may run on the other thread: it
// gets a copy of its own that nobody changes.
void publish_names(CAppPost& app);

// --- Host figures (AppHostSystem.cpp) -----------------------------------------------------------

// The first lines of a file, at most count, without their line ends; fewer when it has fewer or
// cannot be read.
std::vector<std::string> first_lines(const char* path, size_t count);

bool device_exists(const char* path);

// Runs a shell command and reads one decimal number from its output. False when there is none:
// value is left as it was.
bool command_number(const char* command, int& value);
