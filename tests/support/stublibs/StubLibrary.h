// Between a stub database library and the test program that loads it. The program defines both
// names and exports them; the library tells what is called and does as the script says.
#pragma once

// Which of the library's functions throws.
enum class StubThrows
{
    kNothing,
    kGet,      // GetDbManager
    kFree,     // FreeDbManager
    kOpenData, // OpenDb of the data database
    kOpenAlarm,
    kOpen, // Open of the data database
};

// What the stub library answers.
struct StubScript
{
    bool manager = true;   // GetDbManager gives one
    bool data_db = true;   // OpenDb("tmp/dbDat0.db3") gives one
    bool alarm_db = true;  // OpenDb of any other file
    bool data_open = true; // Open of the data database
    StubThrows throws = StubThrows::kNothing;
};

extern "C"
{
    extern StubScript stub_script;
    void stub_called(const char* call);
}
