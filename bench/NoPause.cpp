// Makes the daemon's 20 ms pauses return at once, for runs that measure CPU time. The pauses cost
// none worth speaking of, but a run of ten thousand bodies would last for minutes. All longer
// pauses stay real.
#include "app/AppPause.h"

// The daemon's own pause_ms, compiled under this name (see CMakeLists.txt).
void pause_ms_for_real(int ms);

void pause_ms(int ms)
{
    if (ms != kPassPauseMs)
    {
        pause_ms_for_real(ms);
    }
}
