// Configuration: vkApp.ini, read once at start-up into the members that hold it.
#include <algorithm>

#include "app/AppInternal.h"
#include "vkPub/vkLog.h"

std::string CAppPost::m_strCA;
std::string CAppPost::m_sEncoding;

namespace
{

constexpr char kConfigSection[] = "POST";

void read_head_format(CAppPost& app)
{
    app.m_strFmt0 = app.m_ini.GetValue(kConfigSection, "Fmt0", kDefaultFmt0);
    const std::string problem = head_format_problem(app.m_strFmt0);
    if (!problem.empty())
    {
        VKLOG_TRACE("Fmt0 refused, default used: %s\n", problem.c_str());
        app.m_strFmt0 = kDefaultFmt0;
    }
}

void read_settings(CAppPost& app)
{
    const SimpleIni& ini = app.m_ini;
    app.m_strUrl = ini.GetValue(kConfigSection, "Url", "");
    app.m_strAlmUrl = ini.GetValue(kConfigSection, "AlmUrl", "");
    read_head_format(app);
    app.m_strDept = ini.GetValue(kConfigSection, "Dept", "xxx");
    app.m_strDeptName = ini.GetValue(kConfigSection, "DeptName", "动环监控主机");
    app.m_iTimeout = ini.GetValue<int>(kConfigSection, "Timeout", 15);
    app.m_iDelay = ini.GetValue<int>(kConfigSection, "Delay", 5000);
    app.m_iReTbls = ini.GetValue<int>(kConfigSection, "ReTbls", 0);
    app.m_strState0 = ini.GetValue(kConfigSection, "State0", "0");
    app.m_strState1 = ini.GetValue(kConfigSection, "State1", "1");
    app.m_strState2 = ini.GetValue(kConfigSection, "State2", "2");
    app.m_strState3 = ini.GetValue(kConfigSection, "State3", "3");
    CAppPost::m_sEncoding = ini.GetValue(kConfigSection, "Encoding", "UTF-8");
}

void append_url(std::vector<std::string>& urls, const std::string& url)
{
    if (!url.empty())
    {
        urls.push_back(url);
    }
}

void read_numbered_url(CAppPost& app, const char* prefix, int number,
                       std::vector<std::string>& urls)
{
    const std::string key = prefix + std::to_string(number);
    const std::string url = app.m_ini.GetValue(kConfigSection, key, "");
    append_url(urls, url);
    VKLOG_TRACE("%s=%s \n", key.c_str(), url.c_str());
}

void read_url_lists(CAppPost& app)
{
    app.m_iMaxURLs = app.m_ini.GetValue<int>(kConfigSection, "maxURLs", 1);
    if (app.m_iMaxURLs < 2)
    {
        return; // both lists stay empty; the transport posts to Url alone
    }
    append_url(app.m_vUrls, app.m_strUrl);
    append_url(app.m_vAlmUrls, app.m_strAlmUrl);
    if (app.m_iMaxURLs > kMaxUrlKeys)
    {
        VKLOG_TRACE("maxURLs=%d is too large, %d are read\n", app.m_iMaxURLs, kMaxUrlKeys);
    }
    const int end = std::min(app.m_iMaxURLs, kMaxUrlKeys);
    for (int i = 1; i < end; ++i)
    {
        read_numbered_url(app, "Url", i, app.m_vUrls);
        read_numbered_url(app, "AlmUrl", i, app.m_vAlmUrls);
    }
}

} // namespace

void load_configuration(CAppPost& app)
{
    app.m_ini.Load(kConfigFile); // a missing file leaves every setting at its default
    read_settings(app);
    VKLOG_TRACE("msg=%d POST url=%s almurl=%s dept=%s timeout=%ds delay=%dms encoding=%s\n",
                app.m_msgTrayid, app.m_strUrl.c_str(), app.m_strAlmUrl.c_str(),
                app.m_strDept.c_str(), app.m_iTimeout, app.m_iDelay, CAppPost::m_sEncoding.c_str());
    read_url_lists(app);
    CAppPost::m_strCA = app.m_ini.GetValue(kConfigSection, "CA", "");
}
