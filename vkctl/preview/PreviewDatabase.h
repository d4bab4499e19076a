// A host's database as a preview reads it: through the library that the daemon loads, without any
// write, telling the recorder about every failure that is thrown.
//
// Owns its database object. Failure: as the library's; Require throws CCliError. Main thread.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "db/DbInterface.h"
#include "vkctl/preview/Preview.h"
#include "vkdb/Database.h"
#include "vkdb/Manager.h"

namespace vkctl
{

class CPreviewDatabase final : public DbDatabase
{
public:
    // For the file at the path, which must be a database that can be read as it is: CCliError with
    // kExitFile when not. busy_ms: how long a lock of another process is waited for.
    explicit CPreviewDatabase(const std::string& path, int busy_ms = vkdb::kBusyWaitMs);

    bool Open(const char* path, int mode) override;
    int Close() override { return m_db.Close(); }
    int Exec(const char* sql) override;
    int QryExec(const char* sql, int iqry) override;
    bool QryEof(int iqry) override;
    void QryNext(int iqry) override;
    void QryFree(int iqry) override;
    int QryFldCount(int iqry) override { return m_db.QryFldCount(iqry); }
    const char* QryFldName(int iqry, int iFld) override { return m_db.QryFldName(iqry, iFld); }
    int QryGetIntAt(int iqry, int iFld) override;
    int QryGetInt(int iqry, const char* fld) override;
    const char* QryGetStrAt(int iqry, int iFld) override;
    const char* QryGetStr(int iqry, const char* fld) override;

    // The table that a query reads; empty where it is not known.
    std::string Table(int iqry) const;

    // What the current row of a query has in a column, by its number or by its name, of which the
    // first one counts, in whatever case, as it does for the library. Nothing without such a
    // column.
    std::optional<PreviewCell> Cell(int iqry, int column);
    std::optional<PreviewCell> Cell(int iqry, const std::string& column);

private:
    // What a query reads from.
    struct Source
    {
        std::string sql;
        std::string table;
        bool joins_names = false; // its first columns are those of tbSM
        bool has_failed = false;
    };

    // Runs an operation of the library on a query; what it throws is told, and thrown on.
    template <typename Operation> auto Tell(int iqry, Operation operation);
    vkdb::CDatabase m_db;
    std::map<int, Source> m_sources; // by query index
};

} // namespace vkctl
