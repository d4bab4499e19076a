// The functions that can be made to fail, each with the errors that it may give. Shared by the
// library inside the daemon, which has a definition of each, and the campaign, which picks one.
#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <curl/curl.h>
#include <netdb.h>
#include <sqlite3.h>
#include <string_view>

// Families are the rows of the campaign's table.
struct FunctionFacts
{
    std::string_view name;
    std::string_view family;
    std::array<int, 4> codes; // errno, or what the function itself returns; 0: no more
};

constexpr FunctionFacts kFunctions[] = {
    {"malloc", "memory", {ENOMEM}},
    {"calloc", "memory", {ENOMEM}},
    {"realloc", "memory", {ENOMEM}},
    {"posix_memalign", "memory", {ENOMEM}},
    {"mmap", "memory", {ENOMEM, EAGAIN}},
    {"mmap64", "memory", {ENOMEM, EAGAIN}},
    {"mremap", "memory", {ENOMEM}},

    {"open", "files", {EIO, EMFILE, ENOMEM, ENOSPC}},
    {"open64", "files", {EIO, EMFILE, ENOMEM, EACCES}},
    {"read", "files", {EIO, ENOMEM}},
    {"pread", "files", {EIO, ENOMEM}},
    {"pread64", "files", {EIO, ENOMEM}},
    {"write", "files", {ENOSPC, EIO}},
    {"pwrite", "files", {ENOSPC, EIO}},
    {"pwrite64", "files", {ENOSPC, EIO}},
    {"writev", "files", {ENOSPC, EIO}},
    {"fsync", "files", {EIO, ENOSPC}},
    {"fdatasync", "files", {EIO, ENOSPC}},
    {"ftruncate", "files", {EIO}},
    {"ftruncate64", "files", {EIO}},
    {"lseek64", "files", {EIO}},
    {"rename", "files", {EIO, ENOSPC}},
    {"remove", "files", {EIO}},
    {"unlink", "files", {EIO, EROFS}},
    {"stat", "files", {EIO, ENOMEM}},
    {"stat64", "files", {EIO, ENOMEM}},
    {"fstat", "files", {EIO}},
    {"fstat64", "files", {EIO}},
    {"lstat64", "files", {EIO, ENOMEM}},
    {"access", "files", {EIO, ENOMEM}},
    {"readlink", "files", {EIO, ENOMEM}},
    {"close", "files", {EIO}},
    {"fcntl", "files", {ENOLCK, EIO}},
    {"fcntl64", "files", {ENOLCK, EIO, EAGAIN}},
    {"fopen", "files", {EIO, EMFILE, ENOMEM}},
    {"fopen64", "files", {EIO, EMFILE, ENOMEM}},
    {"fclose", "files", {ENOSPC, EIO}},
    {"fgets", "files", {EIO}},
    {"fread", "files", {EIO}},
    {"fwrite", "files", {ENOSPC, EIO}},
    {"fputs", "files", {ENOSPC, EIO}},
    {"fflush", "files", {ENOSPC, EIO}},
    {"__getdelim", "files", {EIO, ENOMEM}},
    {"__isoc99_fscanf", "files", {EIO}},

    {"socket", "sockets", {EMFILE, ENOMEM, EAFNOSUPPORT}},
    {"socketpair", "sockets", {EMFILE, ENOMEM}},
    {"connect", "sockets", {ECONNREFUSED, ENETUNREACH, EADDRNOTAVAIL, ETIMEDOUT}},
    {"send", "sockets", {EPIPE, ECONNRESET, ENOMEM}},
    {"sendto", "sockets", {EPIPE, ECONNRESET, ENOMEM}},
    {"recv", "sockets", {ECONNRESET, ENOMEM, EINTR}},
    {"recvfrom", "sockets", {ECONNRESET, ENOMEM, EINTR}},
    {"poll", "sockets", {EINTR, ENOMEM}},
    {"setsockopt", "sockets", {ENOMEM, EINVAL}},
    {"getsockopt", "sockets", {ENOMEM, EINVAL}},
    {"getsockname", "sockets", {ENOBUFS}},
    {"getpeername", "sockets", {ENOTCONN, ENOBUFS}},
    {"getaddrinfo", "sockets", {EAI_AGAIN, EAI_FAIL, EAI_NONAME, EAI_MEMORY}},

    {"msgget", "queues", {ENOSPC, ENOMEM, EACCES}},
    {"msgsnd", "queues", {EAGAIN, EIDRM, EINVAL, ENOMEM}},
    {"msgrcv", "queues", {EINTR, EIDRM, EINVAL, E2BIG}},
    {"msgctl", "queues", {EIDRM, EINVAL}},

    {"pthread_create", "threads", {EAGAIN, ENOMEM}},
    {"pthread_kill", "threads", {EAGAIN}},
    {"timer_create", "threads", {EAGAIN, ENOMEM}},
    {"timer_settime", "threads", {EINVAL}},

    {"gettimeofday", "clock", {EFAULT}},
    {"clock_gettime", "clock", {EINVAL}},
    {"time", "clock", {EFAULT}},
    {"localtime_r", "clock", {EOVERFLOW}},
    {"gmtime_r", "clock", {EOVERFLOW}},
    {"nanosleep", "clock", {EINTR}},

    {"iconv_open", "text", {EINVAL, ENOMEM, EMFILE}},
    {"iconv", "text", {EILSEQ, E2BIG, EINVAL}},
    {"iconv_close", "text", {EBADF}},

    {"dlopen", "loading", {ENOMEM}},
    {"dlsym", "loading", {ENOMEM}},
    {"dlclose", "loading", {EINVAL}},

    {"fork", "processes", {EAGAIN, ENOMEM}},
    {"popen", "processes", {EAGAIN, ENOMEM, EMFILE}},
    {"pclose", "processes", {ECHILD}},
    {"system", "processes", {EAGAIN, ENOMEM}},
    {"waitpid", "processes", {ECHILD, EINTR}},
    {"sqlite3_open_v2", "sqlite", {SQLITE_NOMEM, SQLITE_CANTOPEN, SQLITE_IOERR}},
    {"sqlite3_prepare_v3", "sqlite", {SQLITE_NOMEM, SQLITE_IOERR, SQLITE_BUSY, SQLITE_CORRUPT}},
    {"sqlite3_step", "sqlite", {SQLITE_NOMEM, SQLITE_IOERR, SQLITE_BUSY, SQLITE_CORRUPT}},
    {"sqlite3_exec", "sqlite", {SQLITE_NOMEM, SQLITE_IOERR, SQLITE_BUSY, SQLITE_FULL}},
    {"sqlite3_column_text", "sqlite", {SQLITE_NOMEM}},
    {"sqlite3_column_name", "sqlite", {SQLITE_NOMEM}},
    {"sqlite3_bind_int", "sqlite", {SQLITE_NOMEM}},
    {"sqlite3_reset", "sqlite", {SQLITE_NOMEM, SQLITE_IOERR, SQLITE_BUSY}},
    {"sqlite3_finalize", "sqlite", {SQLITE_NOMEM, SQLITE_IOERR}},
    {"sqlite3_busy_handler", "sqlite", {SQLITE_MISUSE}},
    {"sqlite3_config", "sqlite", {SQLITE_MISUSE}},
    {"sqlite3_db_config", "sqlite", {SQLITE_ERROR}},
    {"sqlite3_file_control", "sqlite", {SQLITE_NOTFOUND, SQLITE_IOERR}},
    {"sqlite3_wal_autocheckpoint", "sqlite", {SQLITE_NOMEM}},
    {"sqlite3_vfs_find", "sqlite", {SQLITE_NOMEM}},
    {"sqlite3_vfs_register", "sqlite", {SQLITE_NOMEM}},

    {"curl_global_init", "curl", {CURLE_FAILED_INIT, CURLE_OUT_OF_MEMORY}},
    {"curl_easy_init", "curl", {CURLE_OUT_OF_MEMORY}},
    {"curl_easy_setopt", "curl", {CURLE_OUT_OF_MEMORY, CURLE_UNKNOWN_OPTION}},
    {"curl_easy_perform", "curl", {CURLE_OUT_OF_MEMORY, CURLE_COULDNT_CONNECT, CURLE_RECV_ERROR}},
    {"curl_easy_getinfo", "curl", {CURLE_UNKNOWN_OPTION}},
    {"curl_multi_init", "curl", {CURLM_OUT_OF_MEMORY}},
    {"curl_multi_setopt", "curl", {CURLM_UNKNOWN_OPTION}},
    {"curl_multi_add_handle", "curl", {CURLM_OUT_OF_MEMORY, CURLM_INTERNAL_ERROR}},
    {"curl_multi_perform", "curl", {CURLM_OUT_OF_MEMORY, CURLM_INTERNAL_ERROR}},
    {"curl_multi_timeout", "curl", {CURLM_INTERNAL_ERROR}},
    {"curl_multi_wait", "curl", {CURLM_OUT_OF_MEMORY, CURLM_INTERNAL_ERROR}},
    {"curl_multi_poll", "curl", {CURLM_OUT_OF_MEMORY, CURLM_INTERNAL_ERROR}},
    {"curl_multi_info_read", "curl", {CURLM_OUT_OF_MEMORY}},
};

constexpr size_t kFunctionCount = sizeof(kFunctions) / sizeof(kFunctions[0]);

// The place of a function in the list; kFunctionCount when it is not there.
constexpr size_t function_index(std::string_view name)
{
    size_t i = 0;
    while (i < kFunctionCount && kFunctions[i].name != name)
    {
        ++i;
    }
    return i;
}
