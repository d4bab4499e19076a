// A scripted database object: answers the queries a test expects, fails when told to, records
// its calls in the Recorder and fails the test when a query is left open.
//
//     db.Rows("SID,Name", {{"7", "UPS-1"}});              // the next query, whatever it asks
//     db.On("from tbSM").Rows("SID,Name", {{"7", kNull}}); // every query that contains the text
//     db.On("tbUps").Fail(3);                             // the next three of them cannot start
//     db.On("tbUps").Throw(11, "malformed");              // the next one throws
//     db.ThrowIn("QryGetInt", 2, 10, "disk I/O error");   // the second call from now throws
//
// Scripts are tried in the order in which they were given; one that is used up is passed over. A
// query without a script fails the test. Texts are overwritten on QryNext and QryFree, so that a
// pointer kept too long shows.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "db/DbInterface.h"

using Cell = std::optional<std::string>;
using Row = std::vector<Cell>;
constexpr std::nullopt_t kNull = std::nullopt;

// An exception that is not the database library's.
struct ForeignError
{
};

class FakeDb final : public DbDatabase
{
public:
    class Script; // what On returns: how such queries are answered

    FakeDb() = default;
    ~FakeDb(); // fails the test when queries are open that ExpectLeftOpen did not announce
    FakeDb(const FakeDb&) = delete;
    FakeDb& operator=(const FakeDb&) = delete;

    // --- Script -------------------------------------------------------------------------------

    void Rows(const std::string& columns, std::vector<Row> rows);
    Script On(const std::string& part);
    void ThrowIn(const std::string& operation, int nth, int code, const std::string& message);
    void ThrowForeignIn(const std::string& operation, int nth);
    void RecordSteps() { m_recordSteps = true; } // QryNext too: "next"
    void ExpectLeftOpen(int count) { m_expectedOpen = count; }
    int open_result = 1; // of Open
    int fail_index = -1; // what a query that cannot start answers

    int OpenQueries() const { return static_cast<int>(m_queries.size()); }

    // --- DbDatabase ---------------------------------------------------------------------------

    bool Open(const char* path, int mode) override;
    int Close() override;
    int Exec(const char* sql) override;
    int QryExec(const char* sql, int iqry) override;
    bool QryEof(int iqry) override;
    void QryNext(int iqry) override;
    void QryFree(int iqry) override;
    int QryFldCount(int iqry) override;
    const char* QryFldName(int iqry, int iFld) override;
    int QryGetIntAt(int iqry, int iFld) override;
    int QryGetInt(int iqry, const char* fld) override;
    const char* QryGetStrAt(int iqry, int iFld) override;
    const char* QryGetStr(int iqry, const char* fld) override;

private:
    enum class Answer
    {
        kRows,
        kFail,
        kThrow,
        kForeign,
    };
    struct Entry
    {
        std::string part; // empty: any query
        int left = 1;     // uses; negative: no end
        Answer answer = Answer::kRows;
        std::vector<std::string> columns{};
        std::vector<Row> rows{};
        int code = 0;
        std::string message{};
    };
    struct Trap
    {
        std::string operation;
        int left;
        bool foreign;
        int code;
        std::string message;
    };
    struct Query
    {
        std::vector<std::string> columns;
        std::vector<Row> rows;
        size_t row = 0;
        std::deque<std::string> texts{}; // handed out for the current row
    };

    void Enter(const std::string& operation); // springs the traps
    Entry* Find(const std::string& sql);
    Query* Get(int iqry);
    const Cell* CellAt(int iqry, int iFld);
    int Column(int iqry, const char* fld); // throws when the result lacks it
    void Spoil(Query& query);

    std::deque<Entry> m_entries;
    std::vector<Trap> m_traps;
    std::map<int, Query> m_queries;
    std::deque<std::string> m_spoilt; // texts no longer valid, overwritten
    bool m_recordSteps = false;
    int m_expectedOpen = 0;
};

class FakeDb::Script
{
public:
    Script(FakeDb& db, std::string part) : m_db(db), m_part(std::move(part)) {}
    Script& Once()
    {
        m_times = 1;
        return *this;
    }
    void Rows(const std::string& columns, std::vector<Row> rows); // every time, or Once
    void Fail(int times);                                         // cannot start
    void FailAlways() { Fail(-1); }
    void Throw(int code, const std::string& message, int times = 1);
    void ThrowForeign(int times = 1);

private:
    FakeDb& m_db;
    std::string m_part;
    int m_times = -1;
};
