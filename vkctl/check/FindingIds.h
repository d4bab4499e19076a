// The identifiers of all findings, in the order of docs/check.md, which has a paragraph for each.
// They are stable: tools filter by them.
#pragma once

#include <array>

namespace vkctl
{

constexpr std::array kFindingIds = {
    // The files
    "file-unreadable",
    "database-unreadable",
    "database-wal-reset",
    "file-bom",
    "section-indented",
    "line-without-value",
    "key-empty",
    "key-twice",
    "value-cut",
    "text-not-utf8",
    // Keys and numbers
    "section-unread",
    "key-unread",
    "integer-invalid",
    "value-range",
    // Head and encoding
    "head-format-refused",
    "head-short",
    "encoding-unknown",
    "encoding-unfit",
    "character-lost",
    // Servers
    "no-url",
    "no-data-url",
    "url-invalid",
    "url-scheme",
    "url-unused",
    "alarm-url-unused",
    "url-twice",
    "tls-unverified",
    "ca-missing",
    "ca-unused",
    "certificate-expiring",
    "certificate-refused",
    "server-unreachable",
    // Tables
    "table-required",
    "no-device-table",
    "table-no-sid",
    "table-name",
    "table-hidden",
    "table-twice",
    "table-two-lists",
    "device-columns",
    "device-layout",
    "output-columns",
    "output-row",
    "alarm-table",
    "alarm-did",
    // Devices
    "sid-twice",
    "sid-taken",
    "device-unnamed",
    // Detail, general and extension tables
    "detail-mode-unknown",
    "detail-columns",
    "detail-unused",
    "master-missing",
    "master-not-detail",
    "master-columns",
    "general-column",
    "extension-missing",
    "extension-index",
    "extension-empty",
    "extension-rows",
    // Columns and their texts
    "type-unused",
    "column-missing",
    "column-not-posted",
    "kind-unknown",
    "kind-narrow",
    "key-ambiguous",
    "fallback-missing",
    "bit-label-unused",
    "bit-label-missing",
    "value-not-integer",
    // Bodies
    "value-unescaped",
    "name-twice",
    "name-empty",
    "body-full",
};

} // namespace vkctl
