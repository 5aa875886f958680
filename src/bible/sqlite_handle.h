#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <stdexcept>

struct sqlite3;
struct sqlite3_stmt;

/// SQLite behind handles that close themselves. https://www.sqlite.org/cintro.html
namespace bible {

/// What SQLite says of a file that is missing, damaged or cannot be written.
class SqliteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A query with places for values. Must not outlive its database.
class SqliteStatement {
public:
    SqliteStatement(sqlite3 *database, const char *sql);

    /// Takes values by their place, from 1.
    SqliteStatement &bind(int place, std::int64_t value);
    SqliteStatement &bind(int place, const QByteArray &utf8);

    /// Goes to the next row; false behind the last one.
    bool step();
    /// To be run again, with other values.
    void reset();

    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] QByteArray text(int column) const;

private:
    struct Close {
        void operator()(sqlite3_stmt *statement) const;
    };
    sqlite3 *m_database;
    std::unique_ptr<sqlite3_stmt, Close> m_statement;
};

/// A database in a file, or in memory for ":memory:". One thread at a time; everything throws
/// SqliteError.
class SqliteDatabase {
public:
    enum class Mode { Read, Make };

    SqliteDatabase(const QString &path, Mode mode);

    void run(const char *sql);
    [[nodiscard]] SqliteStatement query(const char *sql) const { return { m_database.get(), sql }; }

private:
    struct Close {
        void operator()(sqlite3 *database) const;
    };
    std::unique_ptr<sqlite3, Close> m_database;
};

} // namespace bible
