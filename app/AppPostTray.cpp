// Reports to the front panel's tray process over its message queue.
#include "app/AppPost.h"

#include <sys/msg.h>

#include "app/AppPostQueue.h"

void CAppPost::SendMsgToTray(int wParam, int lParam)
{
    if (m_msgTrayid < 0)
    {
        m_msgTrayid = get_queue(kTrayQueueKey);
        return; // this report is dropped; the next one finds the queue
    }
    static TrayMessage message; // main thread only; the reserved bytes stay zero
    message.type = kTrayMessageType;
    message.wParam = wParam;
    message.lParam = lParam;
    // The result is ignored on purpose: a report that cannot be queued is worth no waiting.
    msgsnd(m_msgTrayid, &message, kTrayTextBytes, IPC_NOWAIT);
}
