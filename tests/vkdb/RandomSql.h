// Random databases, and random queries on them: a poller's own shapes, and ones that nearly are.
//
// The same seed makes the same texts on every machine. Few names and few numbers, so that queries
// find tables and rows, and rows one another. What a text refers to may be missing, and a statement
// may be refused: that is part of it.
#pragma once

#include <random>
#include <string>
#include <vector>

class CRandomSql
{
public:
    explicit CRandomSql(unsigned seed) : m_engine(seed) {}

    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_engine() % limit); }

    // The statements of a whole database.
    std::vector<std::string> Database();

    // One change of it: rows, mostly, or its tables, indexes, views and statistics.
    std::string Change();

    // One query.
    std::string Query();

private:
    using Choice = std::vector<std::string>;

    const std::string& OneOf(const Choice& choice)
    {
        return choice[Below(unsigned(choice.size()))];
    }
    std::string CreateTable(const std::string& name);
    std::string CreateIndex();
    std::string Insert();
    std::string Value();
    std::string Number();
    std::string Condition(const std::string& prefix);
    std::string Plain();
    std::string Nasty();

    std::mt19937 m_engine;
};
