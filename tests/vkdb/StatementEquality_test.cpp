// Whatever is kept and bound inside: a query through the library gives what SQLite gives for its
// text, compiled for it alone: the same names, rows in the same order, or the same error.
#include "tests/vkdb/DbFile.h"
#include "tests/vkdb/RandomSql.h"
#include "vkdb/Database.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

using vkdb::CDatabase;

namespace
{

// Names, then each cell as text and as integer; or the error.
std::string through_library(CDatabase& db, const std::string& sql)
try
{
    const int iqry = db.QryExec(sql.c_str(), -1);
    std::string result;
    for (int i = 0; i < db.QryFldCount(iqry); ++i)
    {
        result.append(db.QryFldName(iqry, i)).append("|");
    }
    for (; !db.QryEof(iqry); db.QryNext(iqry))
    {
        result += "\n";
        for (int i = 0; i < db.QryFldCount(iqry); ++i)
        {
            result.append(db.QryGetStrAt(iqry, i)).append("=");
            result.append(std::to_string(db.QryGetIntAt(iqry, i))).append("|");
        }
    }
    db.QryFree(iqry);
    return result;
}
catch (const CppSQLite3Exception& e)
{
    return std::to_string(e.errorCode()) + " " + e.errorMessage();
}

std::string row_of(sqlite3_stmt* stmt)
{
    std::string row = "\n";
    for (int i = 0; i < sqlite3_column_count(stmt); ++i)
    {
        const int value = sqlite3_column_int(stmt, i);
        const void* raw = sqlite3_column_text(stmt, i);
        row.append(raw != nullptr ? static_cast<const char*>(raw) : "").append("=");
        row.append(std::to_string(value)).append("|");
    }
    return row;
}

// The same by SQLite alone. What returns no rows is an error of the library's own.
std::string through_sqlite(sqlite3* db, const std::string& sql)
{
    const auto error = [db]
    {
        return std::to_string(sqlite3_errcode(db)) + " " + sqlite3_errmsg(db);
    };
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK)
    {
        return error();
    }
    const vkdb::CStatement stmt(raw);
    if (sqlite3_column_count(raw) == 0)
    {
        return "1 not a statement that returns rows";
    }
    std::string rows;
    int rc = sqlite3_step(raw);
    for (; rc == SQLITE_ROW; rc = sqlite3_step(raw))
    {
        rows += row_of(raw);
    }
    std::string names;
    for (int i = 0; i < sqlite3_column_count(raw); ++i)
    {
        names.append(sqlite3_column_name(raw, i)).append("|");
    }
    return rc == SQLITE_DONE ? names + rows : error();
}

// A database that changes, and what two readers find in it that stay connected.
class CCompared
{
public:
    explicit CCompared(unsigned seed) : m_sql(seed) { Replace(); }

    void Step()
    {
        const unsigned act = m_sql.Below(100);
        if (act == 0)
        {
            Replace();
        }
        else if (act < 25)
        {
            CWriter(m_file.Path()).Try(m_sql.Change());
        }
        else if (act < 30)
        {
            Hold();
        }
        Compare(m_sql.Query());
    }

    int Rows() const { return m_nRows; }

private:
    void Replace()
    {
        m_file.Replace("pragma user_version=1");
        CWriter writer(m_file.Path());
        for (const std::string& sql : m_sql.Database())
        {
            writer.Try(sql);
        }
        m_plain.emplace(m_file.Path());
        if (!m_db)
        {
            m_db.emplace(m_file.Path(), 0);
        }
    }

    // A query of the same shape as later ones, that stays open and has a row or has none.
    void Hold()
    {
        m_db->QryFree(m_iHeld);
        m_iHeld = m_db->QryExec("select * from sqlite_master where rootpage=5", -1);
    }

    void Compare(const std::string& sql)
    {
        m_db->Open(nullptr, -2); // looks at the file, and so sees that its schema has changed
        m_plain->Try("select 1 from sqlite_master limit 1");
        const std::string expected = through_sqlite(m_plain->Handle(), sql);
        EXPECT_EQ(through_library(*m_db, sql), expected) << sql;
        m_nRows += expected.find('\n') != std::string::npos ? 1 : 0;
    }

    CRandomSql m_sql;
    CDbFile m_file;
    std::optional<CWriter> m_plain;
    std::optional<CDatabase> m_db;
    int m_iHeld = -1;
    int m_nRows = 0;
};

constexpr unsigned kDatabases = 24;
constexpr int kQueries = 150; // on each

// More of them for a campaign.
unsigned databases()
{
    const char* count = std::getenv("VKDB_RANDOM_DATABASES");
    return count != nullptr ? static_cast<unsigned>(std::strtoul(count, nullptr, 10)) : kDatabases;
}

} // namespace

TEST(StatementEqualityTest, QueriesGiveWhatSqliteGivesForTheirTexts)
{
    int row_count = 0;
    for (unsigned seed = 0; seed < databases() && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        CCompared compared(seed);
        for (int i = 0; i < kQueries && !testing::Test::HasFailure(); ++i)
        {
            compared.Step();
        }
        row_count += compared.Rows();
    }
    EXPECT_GT(row_count, kQueries); // and not errors alone
}
