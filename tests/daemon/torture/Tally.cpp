#include "tests/daemon/torture/Tally.h"

#include <algorithm>
#include <iostream>

void CTally::Add(const std::string& kind, const Verdict& verdict, const std::string& repeat)
{
    Row& row = m_rows[kind];
    row.tried += verdict.tried;
    row.survived += verdict.survived ? verdict.tried : 0;
    row.recovered += verdict.recovered ? verdict.tried : 0;
    row.lost += verdict.lost;
    row.doubled += verdict.doubled;
    row.failed += verdict.failed;
    row.wrong += verdict.problems.empty() ? 0 : 1;
    for (const std::string& problem : verdict.problems)
    {
        std::cerr << "WRONG " << kind << ": " << problem << "\n";
    }
    if (!verdict.problems.empty())
    {
        std::cerr << "  repeat: " << repeat << std::endl;
        std::cerr << (m_showsLogs ? "--- log ---\n" + verdict.log + "\n" : "");
    }
}

void CTally::Print() const
{
    for (const auto& [kind, row] : m_rows)
    {
        std::cout << "tally " << kind << " " << row.tried << " " << row.survived << " "
                  << row.recovered << " " << row.lost << " " << row.doubled << " " << row.failed
                  << " " << row.wrong << "\n";
    }
    std::cout.flush();
}

bool CTally::AnyWrong() const
{
    return std::any_of(m_rows.begin(), m_rows.end(),
                       [](const auto& row) { return row.second.wrong > 0; });
}
