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
std::string through_library(CDatabase& db, const std::string& strSql)
try
{
    const int iqry = db.QryExec(strSql.c_str(), -1);
    std::string strResult;
    for (int i = 0; i < db.QryFldCount(iqry); ++i)
    {
        strResult.append(db.QryFldName(iqry, i)).append("|");
    }
    for (; !db.QryEof(iqry); db.QryNext(iqry))
    {
        strResult += "\n";
        for (int i = 0; i < db.QryFldCount(iqry); ++i)
        {
            strResult.append(db.QryGetStrAt(iqry, i)).append("=");
            strResult.append(std::to_string(db.QryGetIntAt(iqry, i))).append("|");
        }
    }
    db.QryFree(iqry);
    return strResult;
}
catch (const CppSQLite3Exception& e)
{
    return std::to_string(e.errorCode()) + " " + e.errorMessage();
}

std::string row_of(sqlite3_stmt* pStmt)
{
    std::string strRow = "\n";
    for (int i = 0; i < sqlite3_column_count(pStmt); ++i)
    {
        const int nValue = sqlite3_column_int(pStmt, i);
        const void* pText = sqlite3_column_text(pStmt, i);
        strRow.append(pText != nullptr ? static_cast<const char*>(pText) : "").append("=");
        strRow.append(std::to_string(nValue)).append("|");
    }
    return strRow;
}

// The same by SQLite alone. What returns no rows is an error of the library's own.
std::string through_sqlite(sqlite3* pDb, const std::string& strSql)
{
    const auto error = [pDb]
    {
        return std::to_string(sqlite3_errcode(pDb)) + " " + sqlite3_errmsg(pDb);
    };
    sqlite3_stmt* pRaw = nullptr;
    if (sqlite3_prepare_v2(pDb, strSql.c_str(), -1, &pRaw, nullptr) != SQLITE_OK)
    {
        return error();
    }
    const vkdb::CStatement stmt(pRaw);
    if (sqlite3_column_count(pRaw) == 0)
    {
        return "1 not a statement that returns rows";
    }
    std::string strRows;
    int rc = sqlite3_step(pRaw);
    for (; rc == SQLITE_ROW; rc = sqlite3_step(pRaw))
    {
        strRows += row_of(pRaw);
    }
    std::string strNames;
    for (int i = 0; i < sqlite3_column_count(pRaw); ++i)
    {
        strNames.append(sqlite3_column_name(pRaw, i)).append("|");
    }
    return rc == SQLITE_DONE ? strNames + strRows : error();
}

// A database that changes, and what two readers find in it that stay connected.
class CCompared
{
public:
    explicit CCompared(unsigned nSeed) : m_sql(nSeed) { Replace(); }

    void Step()
    {
        const unsigned nAct = m_sql.Below(100);
        if (nAct == 0)
        {
            Replace();
        }
        else if (nAct < 25)
        {
            CWriter(m_file.Path()).Try(m_sql.Change());
        }
        else if (nAct < 30)
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
        for (const std::string& strSql : m_sql.Database())
        {
            writer.Try(strSql);
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

    void Compare(const std::string& strSql)
    {
        m_db->Open(nullptr, -2); // looks at the file, and so sees that its schema has changed
        m_plain->Try("select 1 from sqlite_master limit 1");
        const std::string strExpected = through_sqlite(m_plain->Handle(), strSql);
        EXPECT_EQ(through_library(*m_db, strSql), strExpected) << strSql;
        m_nRows += strExpected.find('\n') != std::string::npos ? 1 : 0;
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
    const char* szCount = std::getenv("VKDB_RANDOM_DATABASES");
    return szCount != nullptr ? static_cast<unsigned>(std::strtoul(szCount, nullptr, 10))
                              : kDatabases;
}

} // namespace

TEST(StatementEqualityTest, QueriesGiveWhatSqliteGivesForTheirTexts)
{
    int nRows = 0;
    for (unsigned nSeed = 0; nSeed < databases() && !testing::Test::HasFailure(); ++nSeed)
    {
        SCOPED_TRACE("seed " + std::to_string(nSeed));
        CCompared compared(nSeed);
        for (int i = 0; i < kQueries && !testing::Test::HasFailure(); ++i)
        {
            compared.Step();
        }
        nRows += compared.Rows();
    }
    EXPECT_GT(nRows, kQueries); // and not errors alone
}
