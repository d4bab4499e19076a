// Standard output: what stands on its other end, and the end of a subcommand.
#pragma once

#include <cstddef>

namespace vkctl
{

// Whether it is a terminal that shows colours, and nobody asked for none (NO_COLOR).
bool is_color_wanted();

// Columns of the terminal that it is; 0 when it is none.
size_t terminal_columns();

// Ends this process as SIGPIPE does, silently, when standard output is a pipe that nobody reads any
// more. The HTTP library ignores that signal, and whoever started us may have.
void end_if_pipe_is_closed();

// Writes out what is still held back. CCliError with kExitFile when it, or anything before it,
// could not be written (a full disk): a list that is cut must not look like a whole one.
void flush_output();

} // namespace vkctl
