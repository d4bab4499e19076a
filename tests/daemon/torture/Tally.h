// What came of each trial, and the table that is made of it.
#pragma once

#include <map>
#include <string>
#include <vector>

// One trial's outcome.
struct Verdict
{
    int tried = 1;         // how often it was tortured in this trial
    bool survived = true;  // it lived through it, or ended as it is documented to
    bool recovered = true; // the sweep behind it was whole, at the latest after a restart
    int lost = 0;          // alarms that were marked as sent, but neither arrived nor failed
    int doubled = 0;       // alarms that arrived once more
    int failed = 0;        // alarms whose one post failed, which are marked all the same
    std::vector<std::string> problems; // empty: as it is to be
    std::string log;                   // of the daemons, to be shown with a problem

    void Problem(const std::string& text) { problems.push_back(text); }
};

class CTally
{
public:
    // Whether a problem is shown with the daemons' log.
    explicit CTally(bool shows_logs) : m_showsLogs(shows_logs) {}

    // Counts the trial; writes its problems, with the command that repeats it, to standard error.
    void Add(const std::string& kind, const Verdict& verdict, const std::string& repeat);

    // One line for each kind: "tally KIND TRIED SURVIVED RECOVERED LOST DOUBLED FAILED WRONG".
    void Print() const;

    bool AnyWrong() const;

private:
    struct Row
    {
        int tried = 0;
        int survived = 0;
        int recovered = 0;
        int lost = 0;
        int doubled = 0;
        int failed = 0;
        int wrong = 0; // trials with a problem
    };
    bool m_showsLogs;
    std::map<std::string, Row> m_rows;
};
