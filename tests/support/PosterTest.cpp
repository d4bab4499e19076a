#include "tests/support/PosterTest.h"
#include "app/AppHeadFormat.h"

PosterTest::PosterTest()
{
    rec.Clear();
    app.pDb = &db;
    app.pDbAlm = &db_alm;
    app.m_strFmt0 = kDefaultFmt0;
    app.m_strDept = "xxx";
    app.m_strDeptName = "动环监控主机";
    app.m_strState0 = "0";
    app.m_strState1 = "1";
    app.m_strState2 = "2";
    app.m_strState3 = "3";
    app.m_szPostBuf[0] = '\0';
}

void PosterTest::Ini(const std::string& section, std::initializer_list<std::string> lines)
{
    for (const std::string& line : lines)
    {
        const size_t equals = line.find('=');
        ASSERT_NE(equals, std::string::npos) << line;
        app.m_ini.SetValue(section, line.substr(0, equals), line.substr(equals + 1));
    }
}
