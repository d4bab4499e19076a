// The directory that a daemon runs in: vkApp.ini, ./libvkdb.so and the two databases under tmp/,
// made of short SQL texts.
//
// Owns a temporary directory and removes it. A statement that SQLite refuses throws
// std::runtime_error, as does everything else that cannot be set up: a test must not go on then.
#pragma once

#include <map>
#include <string>

struct sqlite3;

class CHostDir
{
public:
    explicit CHostDir(const std::string& parent = "/tmp");
    ~CHostDir();
    CHostDir(const CHostDir&) = delete;
    CHostDir& operator=(const CHostDir&) = delete;

    const std::string& Path() const { return m_strPath; }
    std::string File(const std::string& name) const { return m_strPath + "/" + name; }

    // One setting of vkApp.ini; an empty value is a setting, too. WriteIni puts all into the file.
    void Ini(const std::string& section, const std::string& key, const std::string& value);
    void Post(const std::string& key, const std::string& value) { Ini("POST", key, value); }
    void WriteIni() const;

    // What was set; the empty text when nothing was.
    std::string Setting(const std::string& section, const std::string& key) const;

    // ./libvkdb.so is that file from now on.
    void UseLibrary(const std::string& path) const;

    // Runs statements on tmp/dbDat0.db3 or tmp/dbData.db3, which is made when it is missing.
    void Data(const std::string& sql) const;
    void Alarms(const std::string& sql) const;

    // The single value that a query of the alarm database gives; the empty text when NULL.
    std::string AlarmValue(const std::string& sql) const;

    // The tables that every host has, without a row in them, and the settings that keep the
    // digital points' tables from being taken for device tables.
    void EmptyRoom();

    // EmptyRoom and one device, SID 7, whose body is kDevice7Body.
    void SimpleRoom();

    // A device table: the eight leading columns, then these ("Tem,Run").
    void Table(const std::string& name, const std::string& columns) const;

    // A device of type 5 with its row in tbSM; values are those of the table's own columns, as
    // SQL ("25.5,'on'"). State 0, updated 2024-05-01 12:00:00, Tag1 3, ASubSys 2.
    void Device(int sid, const std::string& name, const std::string& table,
                const std::string& values) const;

    // An alarm that is not sent yet: title, Alm bits and the type whose bits 8 to 15 are its class.
    void Alarm(int did, int sid, const std::string& title, int alm = 1, int type = 0x0400) const;

private:
    std::string m_strPath;
    std::map<std::string, std::map<std::string, std::string>> m_ini;
};

// Another process of the host that keeps a database file to itself, until Release or its end.
class CDbLock
{
public:
    explicit CDbLock(const std::string& path);
    ~CDbLock() { Release(); }
    CDbLock(const CDbLock&) = delete;
    CDbLock& operator=(const CDbLock&) = delete;

    void Release();

private:
    sqlite3* m_db = nullptr;
};

constexpr char kDevice7Body[] = "suid=xxx&sid=7&stype=5&stag1=3&sname=Dev7&subsys=2"
                                "&dtupd=2024-05-01 12:00:00&state=0&V=1";

std::string sql_text(const std::string& text); // as an SQL literal: 'it''s'
void write_file(const std::string& path, const std::string& text);
std::string read_file(const std::string& path); // the empty text when it cannot be read
