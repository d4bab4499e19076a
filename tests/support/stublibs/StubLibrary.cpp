// A database library for start-up tests, built several times: STUB_GET and STUB_FREE say whether
// GetDbManager and FreeDbManager are there.
#include "tests/support/stublibs/StubLibrary.h"

#include <cstring>
#include <string>

#include "db/DbInterface.h"

namespace
{

void throw_if(StubThrows function)
{
    if (stub_script.throws == function)
    {
        throw CppSQLite3Exception(14, "the library says so");
    }
}

class CStubDatabase final : public DbDatabase
{
public:
    explicit CStubDatabase(const char* name) : m_name(name) {}

    bool Open(const char* path, int mode) override
    {
        const std::string shown = path != nullptr ? path : "NULL";
        stub_called((m_name + " Open(" + shown + "," + std::to_string(mode) + ")").c_str());
        throw_if(StubThrows::kOpen);
        return stub_script.data_open;
    }
    int Close() override
    {
        stub_called((m_name + " Close").c_str());
        return 0;
    }
    int Exec(const char*) override { return 0; }
    int QryExec(const char*, int) override { return -1; }
    bool QryEof(int) override { return true; }
    void QryNext(int) override {}
    void QryFree(int) override {}
    int QryFldCount(int) override { return 0; }
    const char* QryFldName(int, int) override { return ""; }
    int QryGetIntAt(int, int) override { return 0; }
    int QryGetInt(int, const char*) override { return 0; }
    const char* QryGetStrAt(int, int) override { return ""; }
    const char* QryGetStr(int, const char*) override { return ""; }

private:
    std::string m_name;
};

class CStubManager final : public DbManager
{
public:
    DbDatabase* OpenDb(const char* path, int flags) override
    {
        stub_called(("OpenDb(" + std::string(path) + "," + std::to_string(flags) + ")").c_str());
        const bool is_data = std::strcmp(path, "tmp/dbDat0.db3") == 0;
        throw_if(is_data ? StubThrows::kOpenData : StubThrows::kOpenAlarm);
        CStubDatabase& db = is_data ? m_data : m_alarm;
        return (is_data ? stub_script.data_db : stub_script.alarm_db) ? &db : nullptr;
    }

private:
    CStubDatabase m_data{"data"};
    CStubDatabase m_alarm{"alarm"};
};

[[maybe_unused]] CStubManager manager;

} // namespace

#ifdef STUB_GET
DbManager* GetDbManager()
{
    stub_called("GetDbManager");
    throw_if(StubThrows::kGet);
    return stub_script.manager ? &manager : nullptr;
}
#endif

#ifdef STUB_FREE
void FreeDbManager()
{
    stub_called("FreeDbManager");
    throw_if(StubThrows::kFree);
}
#endif
