// The character encoding in which bodies leave the host. Any thread.
#pragma once

#include <memory>

constexpr char kUtf8[] = "UTF-8";

using CBodyText = std::unique_ptr<char[]>;

// The body as it goes out: a copy, in the configured encoding. Null when memory ran out.
CBodyText outgoing_body(const char* body);
