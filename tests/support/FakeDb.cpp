#include "tests/support/FakeDb.h"

#include <gtest/gtest.h>

#include "tests/support/Recorder.h"

namespace
{

constexpr size_t kSpoiltKept = 256; // texts that stay readable, as "#", after their time

std::vector<std::string> split(const std::string& columns)
{
    std::vector<std::string> names;
    for (size_t at = 0; at <= columns.size() && !columns.empty();)
    {
        const size_t comma = std::min(columns.find(',', at), columns.size());
        names.push_back(columns.substr(at, comma - at));
        at = comma + 1;
    }
    return names;
}

} // namespace

FakeDb::~FakeDb()
{
    EXPECT_EQ(OpenQueries(), m_expectedOpen) << "queries left open";
}

// --- Script --------------------------------------------------------------------------------------

void FakeDb::Rows(const std::string& columns, std::vector<Row> rows)
{
    On("").Once().Rows(columns, std::move(rows));
}

FakeDb::Script FakeDb::On(const std::string& part)
{
    return {*this, part};
}

void FakeDb::ThrowIn(const std::string& operation, int nth, int code, const std::string& message)
{
    m_traps.push_back({operation, nth, false, code, message});
}

void FakeDb::ThrowForeignIn(const std::string& operation, int nth)
{
    m_traps.push_back({operation, nth, true, 0, ""});
}

void FakeDb::Script::Rows(const std::string& columns, std::vector<Row> rows)
{
    m_db.m_entries.push_back({m_part, m_times, Answer::kRows, split(columns), std::move(rows)});
}

void FakeDb::Script::Fail(int times)
{
    m_db.m_entries.push_back({m_part, times, Answer::kFail});
}

void FakeDb::Script::Throw(int code, const std::string& message, int times)
{
    m_db.m_entries.push_back({m_part, times, Answer::kThrow, {}, {}, code, message});
}

void FakeDb::Script::ThrowForeign(int times)
{
    m_db.m_entries.push_back({m_part, times, Answer::kForeign});
}

// --- Helpers -------------------------------------------------------------------------------------

void FakeDb::Enter(const std::string& operation)
{
    const Trap* sprung = nullptr;
    for (Trap& trap : m_traps) // each of them counts every call
    {
        if (trap.operation == operation && --trap.left == 0)
        {
            sprung = &trap;
        }
    }
    if (sprung == nullptr)
    {
        return;
    }
    if (sprung->foreign)
    {
        throw ForeignError{};
    }
    throw CppSQLite3Exception(sprung->code, sprung->message.c_str());
}

FakeDb::Entry* FakeDb::Find(const std::string& sql)
{
    for (Entry& entry : m_entries)
    {
        if (entry.left != 0 && sql.find(entry.part) != std::string::npos)
        {
            entry.left -= entry.left > 0 ? 1 : 0;
            return &entry;
        }
    }
    return nullptr;
}

FakeDb::Query* FakeDb::Get(int iqry)
{
    const auto found = m_queries.find(iqry);
    return found != m_queries.end() ? &found->second : nullptr;
}

const Cell* FakeDb::CellAt(int iqry, int iFld)
{
    const Query* query = Get(iqry);
    if (query == nullptr || query->row >= query->rows.size() || iFld < 0 ||
        static_cast<size_t>(iFld) >= query->rows[query->row].size())
    {
        return nullptr;
    }
    return &query->rows[query->row][static_cast<size_t>(iFld)];
}

int FakeDb::Column(int iqry, const char* fld)
{
    if (const Query* query = Get(iqry))
    {
        for (size_t i = 0; i < query->columns.size(); ++i)
        {
            if (query->columns[i] == fld)
            {
                return static_cast<int>(i);
            }
        }
        throw CppSQLite3Exception(1, (std::string("no such column: ") + fld).c_str());
    }
    return -1;
}

void FakeDb::Spoil(Query& query)
{
    for (std::string& text : query.texts)
    {
        text.replace(0, text.size(), text.size(), '#'); // in place: the pointer stays readable
    }
    // Swapped, not moved: a short text lives inside its string object.
    while (!query.texts.empty())
    {
        m_spoilt.emplace_back().swap(query.texts.front());
        query.texts.pop_front();
    }
    while (m_spoilt.size() > kSpoiltKept)
    {
        m_spoilt.pop_front();
    }
}

// --- DbDatabase ----------------------------------------------------------------------------------

bool FakeDb::Open(const char* path, int mode)
{
    Recorder::Get().Add(std::string("open(") + (path == nullptr ? "NULL" : path) + "," +
                        std::to_string(mode) + ")");
    Enter("Open");
    return open_result != 0;
}

int FakeDb::Close()
{
    Recorder::Get().Add("close");
    Enter("Close");
    return 0;
}

int FakeDb::Exec(const char* sql)
{
    Recorder::Get().Add(std::string("exec ") + sql);
    Enter("Exec");
    return 1;
}

int FakeDb::QryExec(const char* sql, int iqry)
{
    EXPECT_EQ(iqry, -1);
    Recorder::Get().Add(std::string("sql ") + sql);
    Enter("QryExec");
    const Entry* entry = Find(sql);
    if (entry == nullptr)
    {
        ADD_FAILURE() << "no answer scripted for: " << sql;
        return fail_index;
    }
    switch (entry->answer)
    {
    case Answer::kFail:
        return fail_index;
    case Answer::kThrow:
        throw CppSQLite3Exception(entry->code, entry->message.c_str());
    case Answer::kForeign:
        throw ForeignError{};
    case Answer::kRows:
        break;
    }
    int index = 0;
    while (m_queries.count(index) != 0)
    {
        ++index;
    }
    m_queries[index] = Query{entry->columns, entry->rows};
    return index;
}

bool FakeDb::QryEof(int iqry)
{
    Enter("QryEof");
    const Query* query = Get(iqry);
    return query == nullptr || query->row >= query->rows.size();
}

void FakeDb::QryNext(int iqry)
{
    if (m_recordSteps)
    {
        Recorder::Get().Add("next");
    }
    Enter("QryNext");
    if (Query* query = Get(iqry))
    {
        Spoil(*query);
        ++query->row;
    }
}

void FakeDb::QryFree(int iqry)
{
    Query* query = Get(iqry);
    Recorder::Get().Add(query != nullptr ? "free" : "free of no query");
    Enter("QryFree"); // one that throws has freed nothing
    if (query != nullptr)
    {
        Spoil(*query);
        m_queries.erase(iqry);
    }
}

int FakeDb::QryFldCount(int iqry)
{
    Enter("QryFldCount");
    const Query* query = Get(iqry);
    return query != nullptr ? static_cast<int>(query->columns.size()) : 0;
}

const char* FakeDb::QryFldName(int iqry, int iFld)
{
    Enter("QryFldName");
    const Query* query = Get(iqry);
    const bool inside =
        query != nullptr && iFld >= 0 && static_cast<size_t>(iFld) < query->columns.size();
    return inside ? query->columns[static_cast<size_t>(iFld)].c_str() : "";
}

int FakeDb::QryGetIntAt(int iqry, int iFld)
{
    Enter("QryGetIntAt");
    const Cell* cell = CellAt(iqry, iFld);
    if (cell == nullptr || !cell->has_value())
    {
        return 0;
    }
    return static_cast<int>(std::strtoll((*cell)->c_str(), nullptr, 10));
}

int FakeDb::QryGetInt(int iqry, const char* fld)
{
    Enter("QryGetInt");
    return QryGetIntAt(iqry, Column(iqry, fld));
}

const char* FakeDb::QryGetStrAt(int iqry, int iFld)
{
    Enter("QryGetStrAt");
    const Cell* cell = CellAt(iqry, iFld);
    if (cell == nullptr || !cell->has_value())
    {
        return "";
    }
    return Get(iqry)->texts.emplace_back(**cell).c_str();
}

const char* FakeDb::QryGetStr(int iqry, const char* fld)
{
    Enter("QryGetStr");
    return QryGetStrAt(iqry, Column(iqry, fld));
}
