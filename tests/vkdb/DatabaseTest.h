// The fixture of the database object's tests: one file, one object that waits for no lock.
#pragma once

#include "tests/vkdb/DbFile.h"
#include "vkdb/Database.h"

#include <gtest/gtest.h>

#include <optional>

using Rows = std::vector<std::string>;

class DatabaseTest : public testing::Test
{
protected:
    void SetUp() override
    {
        file.Sql("create table tbSM(SID,Name,Note);"
                 "insert into tbSM values(7,'动环',null),(9,'UPS','n')");
        m_db.emplace(file.Path(), 0);
    }

    vkdb::CDatabase& Db() { return *m_db; }

    // Runs a query of the object and leaves it open.
    int Query(const std::string& sql) { return Db().QryExec(sql.c_str(), -1); }

    CDbFile file;

private:
    std::optional<vkdb::CDatabase> m_db;
};
