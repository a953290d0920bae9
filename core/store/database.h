// Database is a thin wrapper over one SQLite connection, opened read-write
// with full mutex, in write-ahead-log mode with foreign keys on. A file that
// can't be written (a read-only medium, or no permission) is opened for
// reading alone, so that it can still be searched; every write to it then
// fails.
//
// Thread rules: each call is safe from any thread. A lock of the connection
// is held for each call and for the whole of a transaction, so that no other
// thread's statement lands inside a transaction (nor starts a second one) on
// the shared connection; the thread holding it may call in again. Every
// statement is prepared afresh and finalized before the call returns, so
// nothing of one call outlives it. transaction() takes the write lock at once ("BEGIN
// IMMEDIATE"), so a transaction can't fail half-way for want of it; other
// connections wait up to five seconds for a lock before SQLite reports busy.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/model/bytes.h"
#include "core/model/failure.h"

struct sqlite3;

namespace brindlemoor {

class Database {
 public:
  // The one error of this layer: SQLite's words and the statement they are
  // about. what() is "SQLite: " + message + " — " + the statement's first 120
  // characters.
  class Failure : public brindlemoor::Failure {
   public:
    Failure(std::string message, std::string sql);
    const std::string& message() const { return m_message; }
    const std::string& sql() const { return m_sql; }

   private:
    std::string m_message;
    std::string m_sql;
  };

  // One bound argument or one read cell. Each accessor gives a value only for
  // its own case, except doubleValue, which also converts an integer.
  class Value {
   public:
    Value() = default;  // null
    Value(std::int64_t value) : m_value(value) {}
    Value(int value) : m_value(static_cast<std::int64_t>(value)) {}
    Value(double value) : m_value(value) {}
    Value(std::string value) : m_value(std::move(value)) {}
    Value(std::string_view value) : m_value(std::string(value)) {}
    Value(const char* value) : m_value(std::string(value)) {}
    Value(Bytes value) : m_value(std::move(value)) {}
    // Optional text as text or null.
    static Value sqlValue(const std::optional<std::string>& text);

    bool isNull() const { return std::holds_alternative<std::monostate>(m_value); }
    std::optional<std::int64_t> intValue() const;
    std::optional<double> doubleValue() const;
    const std::string* textValue() const { return std::get_if<std::string>(&m_value); }
    const Bytes* blobValue() const { return std::get_if<Bytes>(&m_value); }

    bool operator==(const Value&) const = default;

   private:
    std::variant<std::monostate, std::int64_t, double, std::string, Bytes> m_value;
  };

  // One row of a query: its cells by column name. A name the row lacks reads
  // as null, so row mappings can supply their defaults without checks.
  class Row {
   public:
    Row(std::shared_ptr<const std::vector<std::string>> columns, std::vector<Value> cells);
    const Value& operator[](std::string_view column) const;

   private:
    std::shared_ptr<const std::vector<std::string>> m_columns;
    std::vector<Value> m_cells;
  };

  using Arguments = std::span<const Value>;

  // Opens or creates the file at `path`. Throws Failure with the statement
  // "open " + path when SQLite can't open it or a pragma fails.
  explicit Database(const std::filesystem::path& path);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  const std::filesystem::path& path() const { return m_path; }

  // Runs one or more statements that take no arguments. Throws Failure.
  void execute(std::string_view sql);
  // Runs one statement with `args` bound from position 1; gives the number of
  // rows it changed. Throws Failure.
  std::int64_t run(std::string_view sql, Arguments args = {});
  std::int64_t run(std::string_view sql, std::initializer_list<Value> args) {
    return run(sql, Arguments(args.begin(), args.size()));
  }
  // Runs one statement and gives all its rows. Throws Failure.
  std::vector<Row> query(std::string_view sql, Arguments args = {});
  std::vector<Row> query(std::string_view sql, std::initializer_list<Value> args) {
    return query(sql, Arguments(args.begin(), args.size()));
  }
  // Runs one statement and hands each row to `visit` as it comes, so a large
  // result is never held whole. Throws Failure, and what `visit` throws.
  void forEachRow(std::string_view sql, Arguments args, const std::function<void(Row&&)>& visit);
  std::int64_t lastInsertRowID() const;
  // How many rows this connection has changed since it was opened.
  std::int64_t totalChanges() const;

  // Runs `body` between "BEGIN IMMEDIATE" and "COMMIT" and gives its result.
  // If the body or the commit throws, rolls back (ignoring a failure of that)
  // and rethrows the first error, so the database is left as it was.
  template <class Body>
  auto transaction(Body&& body) -> decltype(body()) {
    std::lock_guard lock(m_mutex);
    execute("BEGIN IMMEDIATE");
    try {
      if constexpr (std::is_void_v<decltype(body())>) {
        body();
        execute("COMMIT");
      } else {
        auto result = body();
        execute("COMMIT");
        return result;
      }
    } catch (...) {
      rollback();
      throw;
    }
  }

  // Runs `body` with the connection's lock held, outside any transaction, and
  // gives its result: no other thread's statement comes between its own.
  template <class Body>
  auto locked(Body&& body) -> decltype(body()) {
    std::lock_guard lock(m_mutex);
    return body();
  }

  // "PRAGMA user_version"; 0 when it can't be read as an integer.
  std::int64_t userVersion();
  void setUserVersion(std::int64_t version);

 private:
  void rollback() noexcept;

  sqlite3* m_handle = nullptr;
  mutable std::recursive_mutex m_mutex;
  std::filesystem::path m_path;
};

}  // namespace brindlemoor
