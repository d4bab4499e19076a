// The body of one device, made alike by the sweep and on demand. Main thread.
#pragma once

#include <string>

#include "app/AppPost.h"
#include "app/AppRows.h"

// What became of one device's row.
struct CDeviceBody
{
    bool due = false; // a row was there and its State is not negative: the body is to be posted
    int type = 0;
    int length = 0;
};

// Writes head and columns of the query's first row into the buffer (kPostBufBytes long).
CDeviceBody compose_device(CAppPost& app, const CRows& rows, const char* table, char* buffer);

// Extension columns by the keys of the device type's section, then the detail rows of the table,
// appended to a body that is due.
void append_extras(CAppPost& app, int sid, const char* table, CDeviceBody& body, char* buffer);

// Serves waiting requests, if any, between two items of the routine that asks, which the log
// names.
void serve_requests(CAppPost& app, const char* function, int line);
