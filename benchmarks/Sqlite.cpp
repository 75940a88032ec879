// SQLite on the same elements: a table of a database in memory, written in one transaction.
// SPDX-License-Identifier: Apache-2.0
#include <sqlite3.h>

#include "Peers.h"

namespace orbo::Benchmarks {

namespace {

struct Close {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, Close>;
using Statement = std::unique_ptr<sqlite3_stmt, Close>;

void execute(const Database& database, const char* sql) {
    require(sqlite3_exec(database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
}

Statement prepare(const Database& database, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(database.get(), sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    return Statement(statement);
}

void insert(sqlite3_stmt* row, std::uint32_t index, const Element& element) {
    int column = 0;
    sqlite3_bind_int64(row, ++column, index);
    sqlite3_bind_int(row, ++column, element.id);
    for (const float value : element.position) {
        sqlite3_bind_double(row, ++column, static_cast<double>(value));
    }
    const auto size = static_cast<int>(element.name.size());
    sqlite3_bind_text(row, ++column, element.name.data(), size, SQLITE_STATIC);
    require(sqlite3_step(row) == SQLITE_DONE, "SQLite inserts");
    sqlite3_reset(row);
}

Database makeDatabase(const Elements& elements) {
    constexpr int kHow = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    sqlite3* opened = nullptr;
    require(sqlite3_open_v2(":memory:", &opened, kHow, nullptr) == SQLITE_OK, "SQLite opens");
    Database database(opened);
    execute(database,
            "CREATE TABLE elements (idx INTEGER PRIMARY KEY, a INTEGER, x REAL, y REAL, z REAL,"
            " s TEXT)");
    execute(database, "BEGIN");
    const Statement row = prepare(database, "INSERT INTO elements VALUES (?, ?, ?, ?, ?, ?)");
    for (const auto& [index, element] : elements) insert(row.get(), index, *element);
    execute(database, "COMMIT");
    return database;
}

Elements readAll(sqlite3_stmt* rows) {
    Elements elements;
    int outcome = SQLITE_ROW;
    while ((outcome = sqlite3_step(rows)) == SQLITE_ROW) {
        const auto value = [&](int column) {
            return static_cast<float>(sqlite3_column_double(rows, column));
        };
        const auto* name = reinterpret_cast<const char*>(sqlite3_column_text(rows, 5));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(rows, 5));
        append(elements, static_cast<std::uint32_t>(sqlite3_column_int64(rows, 0)),
               {sqlite3_column_int(rows, 1), {value(2), value(3), value(4)}, {name, size}});
    }
    require(outcome == SQLITE_DONE, "SQLite reads to the end");
    sqlite3_reset(rows);
    return elements;
}

}  // namespace

Peer sqlite(const Elements& elements) {
    // The statement goes before its database.
    struct Reader {
        Database database;
        Statement rows;
    };
    const auto reader = std::make_shared<Reader>();
    reader->database = makeDatabase(elements);
    reader->rows =
        prepare(reader->database, "SELECT idx, a, x, y, z, s FROM elements ORDER BY idx");
    Peer peer{"SQLite", false, nullptr, nullptr};
    peer.read = [reader] { return readAll(reader->rows.get()); };
    peer.write = [&elements] {
        const Database database = makeDatabase(elements);
        return static_cast<std::size_t>(sqlite3_total_changes(database.get()));
    };
    return peer;
}

}  // namespace orbo::Benchmarks
