// RAII over the SQLite C interface.
#include "core/search/sqlite_db.h"

#include <sqlite3.h>

namespace trivo {
namespace {

[[noreturn]] void fail(sqlite3* db, int code) {
  throw SqliteError(code, db ? sqlite3_errmsg(db) : sqlite3_errstr(code));
}

}  // namespace

SqliteError::SqliteError(int code, const std::string& message)
    : std::runtime_error(message), code_(code) {}

bool SqliteError::damaged() const {
  switch (code_ & 0xff) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
    case SQLITE_IOERR:
    case SQLITE_ERROR:  // a missing table or column: a file of another layout
    case SQLITE_MISMATCH:
    case SQLITE_RANGE:
      return true;
    default:
      return false;
  }
}

SqliteStatement::SqliteStatement(sqlite3* db, std::string_view sql) : db_(db) {
  const int code =
      sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &statement_, nullptr);
  if (code != SQLITE_OK) fail(db, code);
}

SqliteStatement::~SqliteStatement() { sqlite3_finalize(statement_); }

SqliteStatement& SqliteStatement::bind(int index, std::string_view text) {
  const int code = sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()),
                                     SQLITE_TRANSIENT);
  if (code != SQLITE_OK) fail(db_, code);
  return *this;
}

SqliteStatement& SqliteStatement::bind(int index, std::int64_t value) {
  const int code = sqlite3_bind_int64(statement_, index, value);
  if (code != SQLITE_OK) fail(db_, code);
  return *this;
}

SqliteStatement& SqliteStatement::bindNull(int index) {
  const int code = sqlite3_bind_null(statement_, index);
  if (code != SQLITE_OK) fail(db_, code);
  return *this;
}

bool SqliteStatement::step() {
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  sqlite3_reset(statement_);
  fail(db_, code);
}

void SqliteStatement::run() {
  while (step()) {
  }
  reset();
}

void SqliteStatement::reset() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

std::string_view SqliteStatement::text(int column) const {
  const auto* bytes = sqlite3_column_text(statement_, column);
  if (!bytes) return {};
  return {reinterpret_cast<const char*>(bytes),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

bool SqliteStatement::isNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

SqliteDb::SqliteDb(const std::filesystem::path& file, bool create) {
  // A connection belongs to one object, used by one thread at a time: SQLite's own locking of
  // every call (a tenth of a search's time) buys nothing.
  const int flags =
      SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
  const int code = sqlite3_open_v2(file.c_str(), &db_, flags, nullptr);
  if (code != SQLITE_OK) {
    const std::string message = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(code);
    sqlite3_close(db_);
    db_ = nullptr;
    throw SqliteError(code, message);
  }
  sqlite3_extended_result_codes(db_, 1);
  // Another trivo process may be bringing the same index up to date.
  sqlite3_busy_timeout(db_, 10000);
}

SqliteDb::~SqliteDb() { sqlite3_close(db_); }

void SqliteDb::exec(std::string_view sql) {
  const std::string text(sql);
  char* message = nullptr;
  const int code = sqlite3_exec(db_, text.c_str(), nullptr, nullptr, &message);
  if (code != SQLITE_OK) {
    const std::string why = message ? message : sqlite3_errstr(code);
    sqlite3_free(message);
    throw SqliteError(code, why);
  }
}

std::int64_t SqliteDb::lastInsertRowid() const { return sqlite3_last_insert_rowid(db_); }

SqliteTransaction::SqliteTransaction(SqliteDb& db, std::string_view begin) : db_(db) {
  db_.exec(begin);
}

SqliteTransaction::~SqliteTransaction() {
  if (!open_) return;
  // Nothing to report from here: the failure that left the transaction open is already on its
  // way, and a transaction that SQLite ended itself has nothing to roll back.
  sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::commit() {
  open_ = false;
  db_.exec("COMMIT");
}

}  // namespace trivo
