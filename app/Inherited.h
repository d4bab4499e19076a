// What a process inherits from whoever started it, put in order before the daemon relies on it:
// descriptors, blocked and ignored signals, an alarm clock that runs. Main thread, as the first
// thing that main does, before a file is opened and before there is another thread.
//
// Left as it is on purpose: SIGHUP, SIGINT and SIGQUIT, which nohup and a shell's "&" ignore for
// good reasons; the environment, the working directory, the umask and the limits, which are how the
// daemon is configured.
#pragma once

// Nothing is logged and nothing fails: what the system does not let be put in order stays.
void put_inherited_in_order();
