// The built library as a host sees it: loaded at run time, with symbols kept to itself.
#include "db/DbInterface.h"
#include "tests/vkdb/ChildProcess.h"
#include "tests/vkdb/DbFile.h"

#include <gmock/gmock.h>

#include <dlfcn.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>

namespace
{

class ExportsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_pLib = ::dlopen(VKDB_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_pLib, nullptr) << ::dlerror();
        get_manager = Symbol<DbManager* (*)()>("GetDbManager");
        free_manager = Symbol<void (*)()>("FreeDbManager");
    }
    void TearDown() override
    {
        free_manager();
        ::dlclose(m_pLib);
    }

    DbManager* (*get_manager)() = nullptr;
    void (*free_manager)() = nullptr;

private:
    template <class Function> Function Symbol(const char* name)
    {
        void* symbol = ::dlsym(m_pLib, name);
        EXPECT_NE(symbol, nullptr) << name;
        Function function = nullptr;
        static_assert(sizeof(function) == sizeof(symbol));
        std::memcpy(&function, &symbol, sizeof(function));
        return function;
    }

    void* m_pLib = nullptr;
};

TEST_F(ExportsTest, GiveOneManager)
{
    DbManager* manager = get_manager();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(get_manager(), manager);
}

TEST_F(ExportsTest, FreeIsHarmlessWithoutAManager)
{
    free_manager();
    free_manager();
}

TEST_F(ExportsTest, GiveAManagerAgainAfterFree)
{
    const CDbFile file("create table t(a); insert into t values(7)");
    for (int i = 0; i < 3; ++i)
    {
        DbDatabase* db = get_manager()->OpenDb(file.Path().c_str(), 0);
        ASSERT_NE(db, nullptr);
        EXPECT_TRUE(db->Open(nullptr, 0));
        EXPECT_EQ(read_rows(*db, "select a from t"), std::vector<std::string>{"7"});
        free_manager();
        free_manager();
    }
}

size_t open_descriptors()
{
    const std::filesystem::directory_iterator fds("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(fds), end(fds)));
}

TEST_F(ExportsTest, FreeClosesEveryFile)
{
    const CDbFile file("create table t(a); insert into t values(7)");
    const size_t before = open_descriptors();
    for (const char* sql : {"select a from t", "select a from missing"})
    {
        DbDatabase* db = get_manager()->OpenDb(file.Path().c_str(), 0);
        db->Open(nullptr, 0);
        thrown_by([&] { db->QryExec(sql, -1); });
        EXPECT_GT(open_descriptors(), before);
        free_manager();
        EXPECT_EQ(open_descriptors(), before);
    }
}

TEST_F(ExportsTest, ExceptionIsCaughtByReferenceInTheHost)
{
    const CDbFile file("create table t(a)");
    DbDatabase* db = get_manager()->OpenDb(file.Path().c_str(), 0);
    ASSERT_TRUE(db->Open(nullptr, -2));
    EXPECT_EQ(thrown_by([&] { db->QryExec("select a from missing", -1); }),
              "1 no such table: missing");
    EXPECT_EQ(thrown_by([&] { db->Exec("insert into t values(1)"); }),
              "8 attempt to write a readonly database");
}

TEST_F(ExportsTest, ExceptionOutlivesTheManager)
{
    const CDbFile file("create table t(a)");
    CppSQLite3Exception kept(0, "");
    try
    {
        get_manager()->OpenDb(file.Path().c_str(), 0)->QryExec("select a from missing", -1);
    }
    catch (CppSQLite3Exception& e)
    {
        kept = e;
    }
    free_manager();
    EXPECT_EQ(kept.errorCode(), 1);
    EXPECT_STREQ(kept.errorMessage(), "no such table: missing");
}

// Names of the dynamic symbols that a shared object defines, as "kind name".
std::vector<std::string> defined_symbols(const std::string& path)
{
    const std::string command = "nm -D --defined-only -f posix '" + path + "'";
    std::vector<std::string> found;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::array<char, 512> name = {};
    char kind = 0;
    while (pipe && std::fscanf(pipe.get(), "%511s %c%*[^\n]", name.data(), &kind) == 2)
    {
        found.push_back(std::string(1, kind) + " " + name.data());
    }
    return found;
}

TEST(ExportsSymbolsTest, AreTheTwoFunctionsAndTheTypeOfTheException)
{
    EXPECT_THAT(defined_symbols(VKDB_LIBRARY),
                testing::UnorderedElementsAre("T GetDbManager", "T FreeDbManager",
                                              "V _ZTI19CppSQLite3Exception",
                                              "V _ZTS19CppSQLite3Exception"));
}

// Settings of the process need one in which SQLite is not at work yet: here one that starts it
// anew, with the settings that a host has by default.
int settings_in_a_new_process(DbManager* (*get_manager)())
{
    sqlite3_shutdown();
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 1);
    sqlite3_config(SQLITE_CONFIG_SERIALIZED);
    if (get_manager() == nullptr)
    {
        return 100;
    }
    const CWriter plain(":memory:"); // as any connection of the process
    const int statistics = sqlite3_memory_used() == 0 ? 0 : 1;
    const int mutexes = sqlite3_db_mutex(plain.Handle()) == nullptr ? 0 : 2;
    return statistics + mutexes;
}

TEST_F(ExportsTest, TheLibraryMakesNoConnectionsShareALock)
{
    EXPECT_EQ(run_in_child([this] { return settings_in_a_new_process(get_manager); }), 0);
}

// What the test above relies on.
TEST_F(ExportsTest, WithoutTheLibraryConnectionsShareALock)
{
    EXPECT_EQ(
        run_in_child(
            []
            { return settings_in_a_new_process([] { return reinterpret_cast<DbManager*>(1); }); }),
        3);
}

} // namespace
