// The report to the tray, recording: "tray(0,1)".
#include "app/AppPost.h"
#include "tests/support/Recorder.h"

void CAppPost::SendMsgToTray(int wParam, int lParam)
{
    Recorder& recorder = Recorder::Get();
    recorder.Add("tray(" + std::to_string(wParam) + "," + std::to_string(lParam) + ")");
    if (recorder.on_tray)
    {
        recorder.on_tray(wParam, lParam);
    }
}
