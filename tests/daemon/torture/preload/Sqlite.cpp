// SQLite as the database library calls it. A call that is made to fail leaves its error with the
// connection, as a real one does, until the next call.
#include "tests/daemon/torture/preload/Gate.h"

#include <cstdarg>

namespace
{

// The failure that was told last on this thread, and of which connection.
__attribute__((tls_model("initial-exec"))) thread_local sqlite3* failed_db = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local int failed_code = SQLITE_OK;

// True when this call, made by the database library itself, is to fail.
bool sqlite_fails(size_t index, const void* caller, sqlite3* db, int& code)
{
    if (!is_ours(caller))
    {
        return false;
    }
    failed_db = nullptr;
    if (!call_fails(index, code))
    {
        return false;
    }
    failed_db = db;
    failed_code = code;
    return true;
}

// SQLite comes later than this library: what is called of it here is looked up by its name.
template <typename Function> Function plain(const char* name)
{
    return reinterpret_cast<Function>(definition_of(name));
}

sqlite3* connection_of(sqlite3_stmt* statement)
{
    static const auto real = plain<sqlite3* (*)(sqlite3_stmt*)>("sqlite3_db_handle");
    return statement != nullptr ? real(statement) : nullptr;
}

} // namespace

#define VK_SQLITE(RESULT, NAME, PARAMETERS, ARGUMENTS, DB, FAILED)                                 \
    VK_DEFINE(RESULT, NAME, PARAMETERS)                                                            \
    {                                                                                              \
        VK_INDEX(NAME);                                                                            \
        int code = 0;                                                                              \
        if (sqlite_fails(kIndex, __builtin_return_address(0), DB, code))                           \
        {                                                                                          \
            return FAILED;                                                                         \
        }                                                                                          \
        return next<RESULT(*) PARAMETERS>(kIndex) ARGUMENTS;                                       \
    }

VK_SQLITE(int, sqlite3_open_v2, (const char* file, sqlite3** out, int flags, const char* vfs),
          (file, out, flags, vfs), nullptr, (*out = nullptr, code))
VK_SQLITE(int, sqlite3_prepare_v3,
          (sqlite3 * db, const char* sql, int n, unsigned flags, sqlite3_stmt** out,
           const char** tail),
          (db, sql, n, flags, out, tail), db, (*out = nullptr, code))
VK_SQLITE(int, sqlite3_step, (sqlite3_stmt * statement), (statement), connection_of(statement),
          code)
VK_SQLITE(int, sqlite3_exec,
          (sqlite3 * db, const char* sql, sqlite3_callback row, void* data, char** message),
          (db, sql, row, data, message), db, code)
VK_SQLITE(const unsigned char*, sqlite3_column_text, (sqlite3_stmt * statement, int column),
          (statement, column), connection_of(statement), nullptr)
VK_SQLITE(const char*, sqlite3_column_name, (sqlite3_stmt * statement, int column),
          (statement, column), connection_of(statement), nullptr)
VK_SQLITE(int, sqlite3_bind_int, (sqlite3_stmt * statement, int at, int value),
          (statement, at, value), connection_of(statement), code)
VK_SQLITE(int, sqlite3_busy_handler, (sqlite3 * db, int (*wait)(void*, int), void* data),
          (db, wait, data), db, code)
VK_SQLITE(int, sqlite3_file_control, (sqlite3 * db, const char* name, int operation, void* data),
          (db, name, operation, data), db, code)
VK_SQLITE(int, sqlite3_wal_autocheckpoint, (sqlite3 * db, int pages), (db, pages), db, code)
VK_SQLITE(sqlite3_vfs*, sqlite3_vfs_find, (const char* name), (name), nullptr, nullptr)
VK_SQLITE(int, sqlite3_vfs_register, (sqlite3_vfs * vfs, int is_default), (vfs, is_default),
          nullptr, code)

// These tell of what failed before, and do their work all the same.
#define VK_SQLITE_AFTERWARDS(NAME)                                                                 \
    VK_DEFINE(int, NAME, (sqlite3_stmt * statement))                                               \
    {                                                                                              \
        VK_INDEX(NAME);                                                                            \
        int code = 0;                                                                              \
        const bool fails =                                                                         \
            sqlite_fails(kIndex, __builtin_return_address(0), connection_of(statement), code);     \
        const int result = next<int (*)(sqlite3_stmt*)>(kIndex)(statement);                        \
        return fails ? code : result;                                                              \
    }

VK_SQLITE_AFTERWARDS(sqlite3_reset)
VK_SQLITE_AFTERWARDS(sqlite3_finalize)

// What a setting takes is passed on as three machine words, whether it takes them or fewer.
VK_DEFINE(int, sqlite3_config, (int what, ...))
{
    VK_INDEX(sqlite3_config);
    va_list rest;
    va_start(rest, what);
    void* a = va_arg(rest, void*);
    void* b = va_arg(rest, void*);
    void* c = va_arg(rest, void*);
    va_end(rest);
    int code = 0;
    return sqlite_fails(kIndex, __builtin_return_address(0), nullptr, code)
               ? code
               : next<int (*)(int, ...)>(kIndex)(what, a, b, c);
}

VK_DEFINE(int, sqlite3_db_config, (sqlite3 * db, int what, ...))
{
    VK_INDEX(sqlite3_db_config);
    va_list rest;
    va_start(rest, what);
    void* a = va_arg(rest, void*);
    void* b = va_arg(rest, void*);
    void* c = va_arg(rest, void*);
    va_end(rest);
    int code = 0;
    return sqlite_fails(kIndex, __builtin_return_address(0), db, code)
               ? code
               : next<int (*)(sqlite3*, int, ...)>(kIndex)(db, what, a, b, c);
}

// --- What was told of the last failure -----------------------------------------------------------

VK_DEFINE(int, sqlite3_errcode, (sqlite3 * db))
{
    static const auto real = plain<int (*)(sqlite3*)>("sqlite3_errcode");
    return failed_db != nullptr && db == failed_db ? failed_code : real(db);
}

VK_DEFINE(int, sqlite3_extended_errcode, (sqlite3 * db))
{
    static const auto real = plain<int (*)(sqlite3*)>("sqlite3_extended_errcode");
    return failed_db != nullptr && db == failed_db ? failed_code : real(db);
}

VK_DEFINE(const char*, sqlite3_errmsg, (sqlite3 * db))
{
    static const auto real = plain<const char* (*)(sqlite3*)>("sqlite3_errmsg");
    static const auto text = plain<const char* (*)(int)>("sqlite3_errstr");
    return failed_db != nullptr && db == failed_db ? text(failed_code) : real(db);
}
