// The main cycle: paces the sweep by Delay, puts an idle pass between two steps, rediscovers the
// tables, serves requests ahead of the sweep and survives whatever a step throws.
#include "app/AppPost.h"

#include "app/AppBodyKinds.h"
#include "app/AppClock.h"
#include "app/AppPause.h"
#include "app/AppRules.h"
#include "vkPub/vkLog.h"

namespace
{

constexpr int kStepRequests = kSweepSteps; // behind the last one of a sweep
constexpr char kExceptionLine[] = "[CAppPost::Run] db exception\r\n";

// Due at once is also what a board finds whose clock begins in 1970, below any Delay, and what one
// finds whose clock was set back: it would be silent until the clock is there again.
bool is_due(const CRunState& state, int delay_ms)
{
    return state.lastSweepMs == 0 || state.nowMs < state.lastSweepMs ||
           state.nowMs - state.lastSweepMs >= delay_ms;
}

void rediscover_when_counted(CAppPost& app, CRunState& state)
{
    if (app.m_iReTbls == 0 || ++state.reTblsCount <= app.m_iReTbls)
    {
        return;
    }
    state.reTblsCount = 0;
    app.SendMsgToTray(0, 1);
    app.GetTbls();
    pause_ms(app.m_iDelay);
}

void run_sweep_step(CAppPost& app, CRunState& state)
{
    if (state.nPostType < 0 || state.nPostType >= kStepRequests)
    {
        return;
    }
    (app.*sweep_step(static_cast<size_t>(state.nPostType)))();
    if (state.nPostType == 0)
    {
        state.passCount = 0;
    }
}

void advance(CRunState& state)
{
    ++state.nPostType;
    if (state.passCount > 1)
    {
        state.passCount = 0;
    }
    if (state.nPostType >= kStepRequests)
    {
        state.nPostType = 0;
        // The sweep is over, the wait for the next one begins. 0 would be due at once, and with a
        // clock that stands there, as one does that cannot be read, for ever.
        state.lastSweepMs = state.nowMs != 0 ? state.nowMs : -1;
    }
}

bool discover(CAppPost& app)
try
{
    app.GetTbls();
    return true;
}
catch (...) // memory: the catalogue is unfinished
{
    VKLOG_TRACE(kExceptionLine);
    return false;
}

// The first discovery begins anew until nothing is thrown: without ReTbls there is no other one.
// Given up after as many tries as its own phases make.
void discover_at_start(CAppPost& app)
{
    for (int attempt = 1; !discover(app) && attempt < kDiscoveryTries; ++attempt)
    {
        app.SendMsgToTray(0, 1);
        pause_ms(kDiscoveryFailedPauseMs);
    }
}

} // namespace

void CAppPost::Run()
{
    SendMsgToTray(1, 1);
    discover_at_start(*this);
    for (CRunState state;;)
    {
        Run(state);
    }
}

void CAppPost::Run(CRunState& state)
try
{
    wall_clock_ms(state.nowMs);
    ++state.passCount;
    if (m_devCtrlupdSta == 1)
    {
        state.lastSweepMs = 0;
        state.nPostType = kStepRequests;
    }

    if (!is_due(state, m_iDelay))
    {
        pause_ms(kPassPauseMs);
        return;
    }

    rediscover_when_counted(*this, state);

    if (state.nPostType != 0 && state.passCount < 2)
    {
        pause_ms(kPassPauseMs);
        return;
    }

    if (state.nPostType == kStepRequests)
    {
        VKLOG_TRACE("%s %s line=%d nPostType=%d \r\n", __FILE__, __FUNCTION__, __LINE__,
                    state.nPostType);
        PostMsgrecv();
    }
    else
    {
        run_sweep_step(*this, state);
    }
    SendMsgToTray(0, 1);
    advance(state);
    pause_ms(kPassPauseMs);
}
catch (...)
{
    // The state stays as it was: the step that failed is tried again on the next pass.
    VKLOG_TRACE(kExceptionLine);
}
