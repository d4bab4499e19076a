// vkctl preview: shows what the daemon would post now.
#pragma once

namespace CLI
{
class App;
}

namespace vkctl
{

void add_preview_command(CLI::App& app, int& exitStatus);

} // namespace vkctl
