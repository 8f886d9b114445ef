#pragma once

#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace Ostrel::Bench {

/// The guide in an SQLite database in memory: table "guide", a column for each member of a row
/// and "json", with indices on (ServiceId, Start), Start and ServiceId, End.
class Database {
public:
    Database();
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// A statement that is prepared once, and run any number of times.
    class Statement {
    public:
        Statement(Database& database, const std::string& sql);
        ~Statement();
        Statement(const Statement&) = delete;
        Statement& operator=(const Statement&) = delete;

        /// Moves to the first row, then to the next; false behind the last one.
        bool step();
        /// The first column of the row.
        const char* text() const;
        int bytes() const;

    private:
        sqlite3_stmt* statement_ = nullptr;
    };

private:
    void run(const char* sql);
    void fill();

    sqlite3* handle_ = nullptr;
};

} // namespace Ostrel::Bench
