// The daemon's two message queues.
#pragma once

#include "app/AppPost.h"
#include "app/AppQueues.h"

// The queue of that key, made when it does not exist. -1 when the system has none to give.
int get_queue(int key);

// Takes one message from the request queue, if one waits there, and records the request that it
// makes. On the request thread, which holds no lock meanwhile: in its loop, and between the alarms
// that it posts.
void poll_requests(CAppPost& app);
