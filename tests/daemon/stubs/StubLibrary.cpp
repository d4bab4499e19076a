// Database libraries that are no use, built several times with different macros:
//   STUB_MANAGER   GetDbManager is there; 0: it returns null, 1: a manager
//   STUB_RELEASE   FreeDbManager is there; each call leaves a letter in the file "released"
//   STUB_DATABASE  what the manager opens; 0: null, 1: a database that cannot be used
//   STUB_THROWS    FreeDbManager throws, and with it 1: GetDbManager, 2: a database's Open
#include <cstdio>

#include "db/DbInterface.h"

#ifndef STUB_THROWS
#define STUB_THROWS 0
#endif

namespace
{

[[maybe_unused]] void throw_if(bool throws)
{
    if (throws)
    {
        throw CppSQLite3Exception(14, "the library says so");
    }
}

class CUselessDatabase final : public DbDatabase
{
public:
    bool Open(const char*, int) override
    {
        throw_if(STUB_THROWS == 2);
        return false;
    }
    int Close() override { return 0; }
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
};

class CUselessManager final : public DbManager
{
public:
    DbDatabase* OpenDb(const char*, int) override { return STUB_DATABASE ? &m_database : nullptr; }

private:
    CUselessDatabase m_database;
};

[[maybe_unused]] CUselessManager manager;

} // namespace

#ifdef STUB_MANAGER
DbManager* GetDbManager()
{
    throw_if(STUB_THROWS == 1);
    return STUB_MANAGER ? &manager : nullptr;
}
#endif

#ifdef STUB_RELEASE
void FreeDbManager()
{
    if (FILE* file = std::fopen("released", "ae"))
    {
        std::fputc('r', file);
        std::fclose(file);
    }
    throw_if(STUB_THROWS != 0);
}
#endif
