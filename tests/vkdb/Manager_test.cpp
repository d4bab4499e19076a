#include "vkdb/Manager.h"

#include "tests/vkdb/DbFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace
{

TEST(ManagerTest, MakesAnObjectForAFile)
{
    const CDbFile file("create table t(a); insert into t values(7)");
    vkdb::CManager manager(0);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_TRUE(db->Open(nullptr, 0));
    EXPECT_EQ(read_rows(*db, "select a from t"), std::vector<std::string>{"7"});
}

TEST(ManagerTest, HasNoObjectForAMissingFile)
{
    const CDbFile file;
    vkdb::CManager manager(0);
    EXPECT_EQ(manager.OpenDb(file.Path().c_str(), 0), nullptr);
    EXPECT_EQ(manager.OpenDb((file.Path() + "/below").c_str(), 0), nullptr);
    CWriter(file.Path()).Sql("create table t(a)");
    EXPECT_EQ(manager.OpenDb((file.Path() + "/below").c_str(), 0), nullptr); // below a file
    EXPECT_EQ(manager.OpenDb("", 0), nullptr);
    EXPECT_EQ(manager.OpenDb(nullptr, 0), nullptr);
}

TEST(ManagerTest, MakesAnObjectForAPathThatCannotBeFollowedJustNow)
{
    const CDbFile file;
    std::filesystem::create_symlink(file.Path(), file.Path()); // ELOOP
    vkdb::CManager manager(0);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_FALSE(db->Open(nullptr, 0));
    std::filesystem::remove(file.Path());
    file.Sql("create table t(a)");
    EXPECT_TRUE(db->Open(nullptr, 0));
}

// Which the thread sanitizer's build makes sure of.
TEST(ManagerTest, MakesObjectsForTwoThreads)
{
    const CDbFile file("create table t(a)");
    vkdb::CManager manager(0);
    const auto open = [&]
    {
        for (int i = 0; i < 100; ++i)
        {
            EXPECT_NE(manager.OpenDb(file.Path().c_str(), 0), nullptr);
        }
    };
    std::thread other(open);
    open();
    other.join();
}

// A lock held just when the host starts must not cost it the database for good.
TEST(ManagerTest, MakesAnObjectForALockedFile)
{
    const CDbFile file("create table t(a)");
    CWriter writer(file.Path());
    writer.Sql("begin exclusive");
    vkdb::CManager manager(0);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_FALSE(db->Open(nullptr, 0));
    writer.Sql("commit");
    EXPECT_TRUE(db->Open(nullptr, 0));
}

TEST(ManagerTest, LeavesItToOpenToTellAFileThatIsNoDatabase)
{
    const CDbFile file;
    file.Bytes(std::string(5000, 'x'));
    vkdb::CManager manager(0);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_FALSE(db->Open(nullptr, 0));
}

TEST(ManagerTest, GivesTwoObjectsForOneFile)
{
    const CDbFile file("create table t(a)");
    vkdb::CManager manager(0);
    DbDatabase* first = manager.OpenDb(file.Path().c_str(), 0);
    DbDatabase* second = manager.OpenDb(file.Path().c_str(), 0);
    EXPECT_NE(first, second);
    EXPECT_TRUE(first->Open(nullptr, 0));
    EXPECT_TRUE(second->Open(nullptr, -2));
}

TEST(ManagerTest, ReleasesItsDatabasesWithQueriesOpen)
{
    const CDbFile file("create table t(a); insert into t values(7)");
    {
        vkdb::CManager manager(0);
        DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
        ASSERT_TRUE(db->Open(nullptr, 0));
        ASSERT_GE(db->QryExec("select a from t", -1), 0);
    }
    CWriter(file.Path()).Sql("begin exclusive; update t set a=8; commit");
}

} // namespace
