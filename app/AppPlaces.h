// The places that log messages name.
//
// Messages that begin with "%s %s line=%d" name this source, their function and these lines. The
// numbers belong to the messages: log readers look for them, so they stay what they are.
#pragma once

constexpr char kSource[] = "AppPost";
constexpr int kLinePostNormalServe = 1229;
constexpr int kLinePostGeneralServe = 1336;
constexpr int kLinePostExtIndex = 1952;
constexpr int kLineEndProcMsg = 2390;
constexpr int kLineProcMsgReceived = 2735;
constexpr int kLineMsgrecvEnter = 2760;
constexpr int kLineMsgrecvEntry = 2776;
constexpr int kLineMsgrecvPost = 2784;
constexpr int kLineMsgrecvUnknown = 2790;
