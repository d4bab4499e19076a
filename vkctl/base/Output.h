// Standard output at the end of a subcommand.
#pragma once

namespace vkctl
{

// Writes out what is still held back. CCliError with kExitFile when it, or anything before it,
// could not be written (a full disk): a list that is cut must not look like a whole one.
void flush_output();

} // namespace vkctl
