// The identifiers of all findings, in the order of docs/check.md, which has a paragraph for each.
// They are stable: tools filter by them. A finding is made with the name on the left, so that the
// compiler knows them all.
#pragma once

#include <array>

#define VK_FINDINGS(X)                                                                             \
    /* The files */                                                                                \
    X(kFileUnreadable, "file-unreadable")                                                          \
    X(kDatabaseUnreadable, "database-unreadable")                                                  \
    X(kLibraryUnusable, "library-unusable")                                                        \
    X(kLogFolder, "log-folder")                                                                    \
    X(kBoardAbsent, "board-absent")                                                                \
    X(kDatabaseWalReset, "database-wal-reset")                                                     \
    X(kFileBom, "file-bom")                                                                        \
    X(kSectionIndented, "section-indented")                                                        \
    X(kLineWithoutValue, "line-without-value")                                                     \
    X(kKeyEmpty, "key-empty")                                                                      \
    X(kKeyTwice, "key-twice")                                                                      \
    X(kValueCut, "value-cut")                                                                      \
    X(kTextNotUtf8, "text-not-utf8")                                                               \
    /* Keys and numbers */                                                                         \
    X(kSectionUnread, "section-unread")                                                            \
    X(kKeyUnread, "key-unread")                                                                    \
    X(kIntegerInvalid, "integer-invalid")                                                          \
    X(kValueRange, "value-range")                                                                  \
    /* Head and encoding */                                                                        \
    X(kHeadFormatRefused, "head-format-refused")                                                   \
    X(kHeadShort, "head-short")                                                                    \
    X(kEncodingUnknown, "encoding-unknown")                                                        \
    X(kEncodingUnfit, "encoding-unfit")                                                            \
    X(kCharacterLost, "character-lost")                                                            \
    /* Servers */                                                                                  \
    X(kNoUrl, "no-url")                                                                            \
    X(kNoDataUrl, "no-data-url")                                                                   \
    X(kUrlInvalid, "url-invalid")                                                                  \
    X(kUrlScheme, "url-scheme")                                                                    \
    X(kUrlUnused, "url-unused")                                                                    \
    X(kAlarmUrlUnused, "alarm-url-unused")                                                         \
    X(kUrlTwice, "url-twice")                                                                      \
    X(kTlsUnverified, "tls-unverified")                                                            \
    X(kCaMissing, "ca-missing")                                                                    \
    X(kCaUnused, "ca-unused")                                                                      \
    X(kCertificateExpiring, "certificate-expiring")                                                \
    X(kCertificateRefused, "certificate-refused")                                                  \
    X(kServerUnreachable, "server-unreachable")                                                    \
    /* Tables */                                                                                   \
    X(kTableUnreadable, "table-unreadable")                                                        \
    X(kTableRequired, "table-required")                                                            \
    X(kNoDeviceTable, "no-device-table")                                                           \
    X(kTableNoSid, "table-no-sid")                                                                 \
    X(kTableName, "table-name")                                                                    \
    X(kTableHidden, "table-hidden")                                                                \
    X(kTableTwice, "table-twice")                                                                  \
    X(kTableTwoLists, "table-two-lists")                                                           \
    X(kDeviceColumns, "device-columns")                                                            \
    X(kDeviceLayout, "device-layout")                                                              \
    X(kOutputColumns, "output-columns")                                                            \
    X(kOutputRow, "output-row")                                                                    \
    X(kAlarmTable, "alarm-table")                                                                  \
    X(kAlarmDid, "alarm-did")                                                                      \
    /* Devices */                                                                                  \
    X(kSidTwice, "sid-twice")                                                                      \
    X(kSidTaken, "sid-taken")                                                                      \
    X(kDeviceUnnamed, "device-unnamed")                                                            \
    /* Detail, general and extension tables */                                                     \
    X(kDetailModeUnknown, "detail-mode-unknown")                                                   \
    X(kDetailColumns, "detail-columns")                                                            \
    X(kDetailUnused, "detail-unused")                                                              \
    X(kMasterMissing, "master-missing")                                                            \
    X(kMasterNotDetail, "master-not-detail")                                                       \
    X(kMasterColumns, "master-columns")                                                            \
    X(kGeneralColumn, "general-column")                                                            \
    X(kExtensionMissing, "extension-missing")                                                      \
    X(kExtensionIndex, "extension-index")                                                          \
    X(kExtensionEmpty, "extension-empty")                                                          \
    X(kExtensionRows, "extension-rows")                                                            \
    /* Columns and their texts */                                                                  \
    X(kTypeUnused, "type-unused")                                                                  \
    X(kColumnMissing, "column-missing")                                                            \
    X(kColumnNotPosted, "column-not-posted")                                                       \
    X(kKindUnknown, "kind-unknown")                                                                \
    X(kKindNarrow, "kind-narrow")                                                                  \
    X(kKeyAmbiguous, "key-ambiguous")                                                              \
    X(kFallbackMissing, "fallback-missing")                                                        \
    X(kBitLabelUnused, "bit-label-unused")                                                         \
    X(kBitLabelMissing, "bit-label-missing")                                                       \
    X(kValueNotInteger, "value-not-integer")                                                       \
    /* Bodies */                                                                                   \
    X(kValueUnescaped, "value-unescaped")                                                          \
    X(kNameTwice, "name-twice")                                                                    \
    X(kNameEmpty, "name-empty")                                                                    \
    X(kBodyFull, "body-full")

namespace vkctl
{

#define VK_NAME(name, text) name,
#define VK_TEXT(name, text) text,

enum class FindingId
{
    VK_FINDINGS(VK_NAME)
};

constexpr std::array kFindingIds = {VK_FINDINGS(VK_TEXT)};

#undef VK_NAME
#undef VK_TEXT

constexpr const char* id_text(FindingId id)
{
    return kFindingIds[static_cast<size_t>(id)];
}

} // namespace vkctl
