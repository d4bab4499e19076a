// Configuration: vkApp.ini, read once at start-up into the members that hold it.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <unistd.h>

#include "app/AppHeadFormat.h"
#include "app/AppPause.h"
#include "app/AppPostConfig.h"
#include "vkPub/vkLog.h"

std::string CAppPost::m_strCA;
std::string CAppPost::m_sEncoding;

namespace
{

constexpr char kConfigSection[] = "POST";
constexpr int kReadTries = 3;
constexpr int kReadRetryPauseMs = 200;

// Why a file that was not loaded could not be: 0 when there is none, or none that may be read,
// which leaves every setting at its default; else an errno.
int failure_of(const SimpleIni& ini, int open_error)
{
    if (ini.ReadError() != 0)
    {
        return ini.ReadError();
    }
    // Lack of memory or descriptors says nothing about the file.
    const bool is_there = access(kConfigFile, R_OK) == 0;
    return is_there ? open_error : 0;
}

// 0 when the file was read to its end or its lack is borne. Else why not, and nothing of it is
// kept: half a file is no configuration.
int load_error(SimpleIni& ini)
try
{
    errno = EIO; // where the library reports no reason
    return ini.Load(kConfigFile) ? 0 : failure_of(ini, errno);
}
catch (const std::bad_alloc&)
{
    return ENOMEM;
}

// A failure may pass, such as an I/O error of the flash. When it stays, the settings are the
// defaults, whose empty URLs end the start-up.
void read_document(SimpleIni& ini)
{
    int error = load_error(ini);
    for (int attempt = 1; error != 0 && attempt < kReadTries; ++attempt)
    {
        pause_ms(kReadRetryPauseMs);
        error = load_error(ini);
    }
    if (error != 0)
    {
        VKLOG_TRACE("%s cannot be read: %s\r\n", kConfigFile, std::strerror(error));
    }
}

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
    read_document(app.m_ini);
    read_settings(app);
    VKLOG_TRACE("msg=%d POST url=%s almurl=%s dept=%s timeout=%ds delay=%dms encoding=%s\n",
                app.m_msgTrayid, app.m_strUrl.c_str(), app.m_strAlmUrl.c_str(),
                app.m_strDept.c_str(), app.m_iTimeout, app.m_iDelay, CAppPost::m_sEncoding.c_str());
    read_url_lists(app);
    CAppPost::m_strCA = app.m_ini.GetValue(kConfigSection, "CA", "");
}
