#include "bible/sqlite_handle.h"

#include <sqlite3.h>

namespace bible {

namespace {

[[noreturn]] void fail(sqlite3 *database)
{
    throw SqliteError(database != nullptr ? sqlite3_errmsg(database) : "out of memory");
}

void require(int result, sqlite3 *database)
{
    if (result != SQLITE_OK) {
        fail(database);
    }
}

} // namespace

void SqliteStatement::Close::operator()(sqlite3_stmt *statement) const
{
    sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(sqlite3 *database, const char *sql)
    : m_database(database)
{
    sqlite3_stmt *statement = nullptr;
    require(sqlite3_prepare_v2(database, sql, -1, &statement, nullptr), database);
    m_statement.reset(statement);
}

SqliteStatement &SqliteStatement::bind(int place, std::int64_t value)
{
    require(sqlite3_bind_int64(m_statement.get(), place, value), m_database);
    return *this;
}

SqliteStatement &SqliteStatement::bind(int place, const QByteArray &utf8)
{
    require(sqlite3_bind_text(m_statement.get(),
                place,
                utf8.constData(),
                static_cast<int>(utf8.size()),
                SQLITE_TRANSIENT), // NOLINT: the library's own cast
        m_database);
    return *this;
}

bool SqliteStatement::step()
{
    const int result = sqlite3_step(m_statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        fail(m_database);
    }
    return result == SQLITE_ROW;
}

void SqliteStatement::reset()
{
    sqlite3_reset(m_statement.get());
}

std::int64_t SqliteStatement::integer(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

QByteArray SqliteStatement::text(int column) const
{
    const auto *bytes
        = reinterpret_cast<const char *>(sqlite3_column_text(m_statement.get(), column)); // NOLINT
    return { bytes, sqlite3_column_bytes(m_statement.get(), column) };
}

void SqliteDatabase::Close::operator()(sqlite3 *database) const
{
    sqlite3_close_v2(database);
}

SqliteDatabase::SqliteDatabase(const QString &path, Mode mode)
{
    sqlite3 *database = nullptr;
    const int flags
        = mode == Mode::Read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    const int result = sqlite3_open_v2(path.toUtf8().constData(),
        &database,
        flags | SQLITE_OPEN_NOMUTEX,
        nullptr);
    m_database.reset(database); // also one that could not be opened is to be closed
    require(result, database);
}

void SqliteDatabase::run(const char *sql)
{
    require(sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr), m_database.get());
}

} // namespace bible
