// What the daemon finds in its working directory, and the reading of its configuration.
#pragma once

#include "app/AppPost.h"

constexpr char kConfigFile[] = "vkApp.ini";
constexpr char kDataDb[] = "tmp/dbDat0.db3";
constexpr char kAlarmDb[] = "tmp/dbData.db3";
constexpr char kDbLibrary[] = "./libvkdb.so"; // with these functions:
constexpr char kDbManagerEntry[] = "GetDbManager";
constexpr char kDbReleaseEntry[] = "FreeDbManager";

// A URL list this long is a slip of the pen; each key of it costs two log lines at start-up.
constexpr int kMaxUrlKeys = 1000;

// Reads kConfigFile and fills the members that it configures. Before any other thread starts.
void load_configuration(CAppPost& app);
