// Configuration: vkApp.ini, read once at start-up into the members that hold it.
#include <cerrno>
#include <cstring>
#include <new>
#include <unistd.h>

#include "app/AppHeadFormat.h"
#include "app/AppPause.h"
#include "app/AppPostConfig.h"
#include "app/AppRules.h"
#include "app/AppSettings.h"
#include "vkPub/vkLog.h"

namespace
{

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

void check_head_format(CAppPost& app)
{
    const std::string problem = head_format_problem(app.m_strFmt0);
    if (!problem.empty())
    {
        VKLOG_TRACE("Fmt0 refused, default used: %s\n", problem.c_str());
        app.m_strFmt0 = setting(SettingId::kFmt0).standard;
    }
}

// Appends the URL of a key to its list; the numbered keys are logged, be they there or not.
void take_url(const ConfiguredUrl& one, bool is_numbered, std::vector<std::string>& urls)
{
    if (!one.url.empty())
    {
        urls.push_back(one.url);
    }
    if (is_numbered)
    {
        VKLOG_TRACE("%s=%s \n", one.key.c_str(), one.url.c_str());
    }
}

void read_url_lists(CAppPost& app)
{
    const int most = taken_number(SettingId::kMaxUrls, app.m_iMaxURLs);
    if (most != app.m_iMaxURLs)
    {
        VKLOG_TRACE("maxURLs=%d is too large, %d are read\n", app.m_iMaxURLs, most);
    }
    const std::vector<ConfiguredUrl> data = listed_keys(app.m_ini, UrlList::kData);
    const std::vector<ConfiguredUrl> alarms = listed_keys(app.m_ini, UrlList::kAlarm);
    for (size_t i = 0; i < data.size(); ++i) // both lists have the same numbers
    {
        take_url(data[i], i > 0, app.m_vUrls);
        take_url(alarms[i], i > 0, app.m_vAlmUrls);
    }
}

} // namespace

void load_configuration(CAppPost& app)
{
    read_document(app.m_ini);
    read_settings(app);
    check_head_format(app);
    VKLOG_TRACE("msg=%d POST url=%s almurl=%s dept=%s timeout=%ds delay=%dms encoding=%s\n",
                app.m_msgTrayid, app.m_strUrl.c_str(), app.m_strAlmUrl.c_str(),
                app.m_strDept.c_str(), app.m_iTimeout, app.m_iDelay, CAppPost::m_sEncoding.c_str());
    read_url_lists(app);
}
