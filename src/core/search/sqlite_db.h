// A small owner of one SQLite connection and its prepared statements, turning SQLite's result
// codes into exceptions so that callers can treat any damage to a database file alike.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace trivo {

// A failed SQLite call. `damaged()` is true when the file is no database, is corrupt, or cannot
// be read as one: the caller should throw the file away.
class SqliteError : public std::runtime_error {
 public:
  SqliteError(int code, const std::string& message);
  [[nodiscard]] int code() const { return code_; }
  [[nodiscard]] bool damaged() const;

 private:
  int code_;
};

class SqliteStatement {
 public:
  SqliteStatement(sqlite3* db, std::string_view sql);
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  // Parameters are numbered from 1. Texts are copied.
  SqliteStatement& bind(int index, std::string_view text);
  SqliteStatement& bind(int index, std::int64_t value);
  SqliteStatement& bindNull(int index);
  // Advances to the next row; false when there is none. Throws SqliteError.
  bool step();
  // Runs to completion and resets for the next use with new parameters.
  void run();
  void reset();

  [[nodiscard]] std::int64_t integer(int column) const;
  [[nodiscard]] std::string_view text(int column) const;  // valid until the next step
  [[nodiscard]] bool isNull(int column) const;

 private:
  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
};

// One connection, for one thread at a time (it is opened without SQLite's own locking).
class SqliteDb {
 public:
  // Opens (creating when `create`) the file. Throws SqliteError.
  SqliteDb(const std::filesystem::path& file, bool create);
  ~SqliteDb();
  SqliteDb(const SqliteDb&) = delete;
  SqliteDb& operator=(const SqliteDb&) = delete;

  // Runs one or more statements without results. Throws SqliteError.
  void exec(std::string_view sql);
  SqliteStatement prepare(std::string_view sql) { return SqliteStatement(db_, sql); }
  [[nodiscard]] std::int64_t lastInsertRowid() const;
  [[nodiscard]] sqlite3* handle() const { return db_; }

 private:
  sqlite3* db_ = nullptr;
};

// A transaction begun by `begin` ("BEGIN", "BEGIN IMMEDIATE") that is rolled back unless
// committed: a failure half-way leaves the database as it was.
class SqliteTransaction {
 public:
  SqliteTransaction(SqliteDb& db, std::string_view begin);
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;

  // Throws SqliteError; the transaction is over either way.
  void commit();

 private:
  SqliteDb& db_;
  bool open_ = true;
};

}  // namespace trivo
