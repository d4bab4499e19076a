// A posted form body taken apart: its pairs, what kind of thing it tells of, its head.
//
// Bodies are not URL-escaped: names and values stand in them as they are. A value may hold blanks,
// "=", and even "&"; what follows such an "&" and has no "=" of its own belongs to the value in
// front of it, and what does have one cannot be told from a pair. Pure functions: any thread.
#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "app/AppBodyKinds.h"

namespace vkctl
{

using ::BodyKind; // kOther: nothing that the forwarder sends with the usual head

constexpr std::array<BodyKind, 8> kBodyKinds = {
    BodyKind::kDevice, BodyKind::kGeneral, BodyKind::kInput, BodyKind::kOutput,
    BodyKind::kCamera, BodyKind::kHost,    BodyKind::kAlarm, BodyKind::kOther};

const char* kind_name(BodyKind kind); // "device", "general", "input" ...

using Field = std::pair<std::string, std::string>;

std::vector<Field> parse_body(const std::string& body);

// The value of the first pair of that name; nullptr when there is none. Lives as long as `pairs`.
const std::string* find_value(const std::vector<Field>& pairs, const std::string& name);

// Goes by the pairs that only one kind has. A site may replace the head: without a `state`, a
// camera is known by its last pair; without `sid`, `stag1` and `subsys`, a general row cannot be
// told from a device.
BodyKind classify(const std::vector<Field>& pairs);

// `bytes` in UTF-8, read as `encoding`. What is no character there becomes U+FFFD. Throws CCliError
// for an encoding that iconv does not know.
std::string to_utf8(const std::string& bytes, const std::string& encoding);

} // namespace vkctl
