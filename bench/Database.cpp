#include "bench/Database.h"

#include "TV/server/dummy/world/ChosenWorld.h"

#include <sqlite3.h>

#include <stdexcept>

namespace Ostrel::Bench {

Database::Database() {
    if (sqlite3_open(":memory:", &handle_) != SQLITE_OK)
        throw std::runtime_error("SQLite does not open");
    run("CREATE TABLE guide (ServiceId INTEGER, Content INTEGER, CridImi INTEGER, DataFromCurrentTs INTEGER,"
        " Description TEXT, DvbOid INTEGER, DvbSid INTEGER, DvbTid INTEGER, End INTEGER, Guidance TEXT,"
        " IsHd INTEGER, LinkedHdProgs INTEGER, LinkedHdSimulcastProgs INTEGER,"
        " PreferredServiceNameId INTEGER, ProgId INTEGER, ScheduleVersion INTEGER,"
        " ServicePosition INTEGER, Start INTEGER, Title TEXT, UnsuitableBeforeWatershed INTEGER,"
        " CridData TEXT, CridType TEXT)");
    fill();
    run("CREATE INDEX byService ON guide (ServiceId, Start)");
    run("CREATE INDEX byEnd ON guide (ServiceId, End)");
    run("CREATE INDEX byStart ON guide (Start)");
    run("ANALYZE");
}

Database::~Database() {
    sqlite3_close(handle_);
}

void Database::run(const char* sql) {
    char* problem = nullptr;
    if (sqlite3_exec(handle_, sql, nullptr, nullptr, &problem) != SQLITE_OK)
        throw std::runtime_error(problem);
}

void Database::fill() {
    run("BEGIN");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(handle_, "INSERT INTO guide VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)", -1,
                       &insert, nullptr);
    for (const TV::epgentry& row : TV::guideRows()) {
        int column = 0;
        const auto number = [&](std::int64_t value) { sqlite3_bind_int64(insert, ++column, value); };
        const auto text = [&](const char* value) {
            sqlite3_bind_text(insert, ++column, value, -1, SQLITE_TRANSIENT);
        };
        std::string data = "[", types = "[";
        for (std::uint32_t i = 0; i != row.CridCount; ++i) {
            data += (i ? ",\"" : "\"") + std::string(row.Crids[i].CridData) + "\"";
            types += (i ? "," : "") + std::to_string(row.Crids[i].CridType);
        }
        number(row.ServiceId);
        number(row.Content);
        number(row.CridImi);
        number(row.DataFromCurrentTs);
        text(row.Description);
        number(row.DvbOid);
        number(row.DvbSid);
        number(row.DvbTid);
        number(row.End);
        text(row.Guidance);
        number(row.IsHd);
        number(row.LinkedHdProgs);
        number(row.LinkedHdSimulcastProgs);
        number(row.PreferredServiceNameId);
        number(row.ProgId);
        number(row.ScheduleVersion);
        number(row.ServicePosition);
        number(row.Start);
        text(row.Title);
        number(row.UnsuitableBeforeWatershed);
        text((data + "]").c_str());
        text((types + "]").c_str());
        if (sqlite3_step(insert) != SQLITE_DONE)
            throw std::runtime_error(sqlite3_errmsg(handle_));
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    run("COMMIT");
}

Database::Statement::Statement(Database& database, const std::string& sql) {
    if (sqlite3_prepare_v2(database.handle_, sql.c_str(), -1, &statement_, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(database.handle_));
}

Database::Statement::~Statement() {
    sqlite3_finalize(statement_);
}

bool Database::Statement::step() {
    if (sqlite3_step(statement_) == SQLITE_ROW)
        return true;
    sqlite3_reset(statement_);
    return false;
}

const char* Database::Statement::text() const {
    return reinterpret_cast<const char*>(sqlite3_column_text(statement_, 0));
}

int Database::Statement::bytes() const {
    return sqlite3_column_bytes(statement_, 0);
}

} // namespace Ostrel::Bench
