// What discovery hands to the alarm routine.
#pragma once

#include "app/AppPost.h"

// Publishes the present device names to the alarm routine, which may run on the other thread: it
// gets a copy of its own that nobody changes.
void publish_names(CAppPost& app);
