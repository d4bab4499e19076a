// The daemon's diagnostic log as it stands on the flash.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

constexpr char kLogPath[] = "/NandFlash/tmp/vkapppost.log.ini";

// One entry: the key before "=", the tag, and the message with the line end that it carries.
struct LogEntry
{
    unsigned long key;
    std::string tag;
    std::string message;
};

// Cuts a log into its entries. Text that belongs to no entry becomes one with an empty tag.
std::vector<LogEntry> parse_log(const std::string& text);

std::vector<LogEntry> log_entries();
std::vector<std::string> log_messages();

// How many messages begin with, or hold, the text.
size_t count_logged(const std::string& text);
bool has_logged(const std::string& text);

// Waits until a message holds the text. False when the deadline has passed.
bool wait_logged(const std::string& text);
