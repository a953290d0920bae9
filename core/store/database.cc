#include "core/store/database.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "core/model/text.h"

namespace brindlemoor {
namespace {

constexpr std::size_t kStatementShown = 120;

// Whether this process may write `path`, or make it where it is missing.
bool writable(const std::filesystem::path& path) {
  if (::access(path.c_str(), W_OK) == 0) return true;
  return errno == ENOENT && ::access(path.parent_path().c_str(), W_OK) == 0;
}

// `path` as the path of a "file:" URI: whatever could end it or be taken
// for an escape is percent-encoded.
std::string uriPath(const std::filesystem::path& path) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const unsigned char c : path.string()) {
    if ((c < 0x80 && std::isalnum(c)) || std::strchr("/-._~", c)) {
      encoded += static_cast<char>(c);
    } else {
      encoded += '%';
      encoded += kHex[c >> 4];
      encoded += kHex[c & 15];
    }
  }
  return encoded;
}

std::string errorMessage(sqlite3* handle) {
  const char* message = handle ? sqlite3_errmsg(handle) : nullptr;
  return message ? message : "cannot open";
}

// A prepared statement that is finalized however the call ends.
class Statement {
 public:
  Statement(sqlite3* handle, std::string_view sql) : m_handle(handle), m_sql(sql) {
    if (sqlite3_prepare_v2(handle, sql.data(), static_cast<int>(sql.size()), &m_statement,
                           nullptr) != SQLITE_OK) {
      fail();
    }
  }
  ~Statement() { sqlite3_finalize(m_statement); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // A failure to bind shows itself when the statement runs, so it isn't
  // looked at here.
  void bind(Database::Arguments args) {
    for (std::size_t i = 0; i < args.size(); ++i) {
      const int position = static_cast<int>(i + 1);
      const Database::Value& value = args[i];
      if (auto integer = value.intValue()) {
        sqlite3_bind_int64(m_statement, position, *integer);
      } else if (auto real = value.doubleValue()) {
        sqlite3_bind_double(m_statement, position, *real);
      } else if (const std::string* text = value.textValue()) {
        // Text is bound up to its first NUL, as every reader takes it.
        sqlite3_bind_text(m_statement, position, text->c_str(), -1, SQLITE_TRANSIENT);
      } else if (const Bytes* blob = value.blobValue()) {
        // SQLite reads a blob without a pointer as null, so an empty one is bound as a zero blob.
        if (blob->empty()) {
          sqlite3_bind_zeroblob(m_statement, position, 0);
        } else {
          sqlite3_bind_blob64(m_statement, position, blob->data(), blob->size(), SQLITE_TRANSIENT);
        }
      } else {
        sqlite3_bind_null(m_statement, position);
      }
    }
  }

  // Steps once; true for a row, false when done. Throws on anything else.
  bool step() {
    const int result = sqlite3_step(m_statement);
    if (result == SQLITE_ROW) return true;
    if (result == SQLITE_DONE) return false;
    fail();
  }

  Database::Value cell(int column) const {
    switch (sqlite3_column_type(m_statement, column)) {
      case SQLITE_INTEGER:
        return Database::Value(
            static_cast<std::int64_t>(sqlite3_column_int64(m_statement, column)));
      case SQLITE_FLOAT:
        return Database::Value(sqlite3_column_double(m_statement, column));
      case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return Database::Value(std::string(text ? text : ""));
      }
      case SQLITE_BLOB: {
        const auto* data =
            static_cast<const std::uint8_t*>(sqlite3_column_blob(m_statement, column));
        const int size = sqlite3_column_bytes(m_statement, column);
        return Database::Value(data ? Bytes(data, data + size) : Bytes());
      }
      default:
        return Database::Value();
    }
  }

  std::shared_ptr<const std::vector<std::string>> columns() const {
    auto names = std::make_shared<std::vector<std::string>>();
    const int count = sqlite3_column_count(m_statement);
    for (int i = 0; i < count; ++i) names->emplace_back(sqlite3_column_name(m_statement, i));
    return names;
  }

  [[noreturn]] void fail() const {
    throw Database::Failure(errorMessage(m_handle), std::string(m_sql));
  }

 private:
  sqlite3* m_handle;
  std::string_view m_sql;
  sqlite3_stmt* m_statement = nullptr;
};

}  // namespace

Database::Failure::Failure(std::string message, std::string sql)
    : brindlemoor::Failure("SQLite: " + message + " — " +
                           std::string(Text::prefix(sql, kStatementShown))),
      m_message(std::move(message)),
      m_sql(std::move(sql)) {}

Database::Value Database::Value::sqlValue(const std::optional<std::string>& text) {
  return text ? Value(*text) : Value();
}

std::optional<std::int64_t> Database::Value::intValue() const {
  if (auto* value = std::get_if<std::int64_t>(&m_value)) return *value;
  return std::nullopt;
}

std::optional<double> Database::Value::doubleValue() const {
  if (auto* value = std::get_if<double>(&m_value)) return *value;
  if (auto* value = std::get_if<std::int64_t>(&m_value)) return static_cast<double>(*value);
  return std::nullopt;
}

Database::Row::Row(std::shared_ptr<const std::vector<std::string>> columns,
                   std::vector<Value> cells)
    : m_columns(std::move(columns)), m_cells(std::move(cells)) {}

const Database::Value& Database::Row::operator[](std::string_view column) const {
  static const Value kNull;
  const auto found = std::find(m_columns->begin(), m_columns->end(), column);
  if (found == m_columns->end()) return kNull;
  return m_cells[static_cast<std::size_t>(found - m_columns->begin())];
}

Database::Database(const std::filesystem::path& path) : m_path(path) {
  const bool readOnly = !writable(path);
  // A read-only file in write-ahead-log mode needs the log's shared-memory
  // file beside it; where the folder can't take one, nothing can change the
  // file either, so it is read as immutable.
  const std::string name = readOnly ? "file:" + uriPath(path) + "?mode=ro" +
                                          (writable(path.parent_path()) ? "" : "&immutable=1")
                                    : path.string();
  const int flags = SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_URI |
                    (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (sqlite3_open_v2(name.c_str(), &m_handle, flags, nullptr) != SQLITE_OK) {
    std::string message = errorMessage(m_handle);
    sqlite3_close_v2(m_handle);
    throw Failure(std::move(message), "open " + path.string());
  }
  sqlite3_busy_timeout(m_handle, 5000);
  try {
    if (!readOnly) {
      execute("PRAGMA journal_mode = WAL");
      execute("PRAGMA synchronous = NORMAL");
    }
    execute("PRAGMA foreign_keys = ON");
  } catch (...) {
    sqlite3_close_v2(m_handle);
    throw;
  }
}

Database::~Database() {
  sqlite3_close_v2(m_handle);
}

void Database::execute(std::string_view sql) {
  std::lock_guard lock(m_mutex);
  const std::string text(sql);
  char* error = nullptr;
  if (sqlite3_exec(m_handle, text.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
    std::string message = error ? error : "error";
    sqlite3_free(error);
    throw Failure(std::move(message), text);
  }
}

std::int64_t Database::run(std::string_view sql, Arguments args) {
  std::lock_guard lock(m_mutex);
  Statement statement(m_handle, sql);
  statement.bind(args);
  statement.step();
  return sqlite3_changes64(m_handle);
}

std::vector<Database::Row> Database::query(std::string_view sql, Arguments args) {
  std::vector<Row> rows;
  forEachRow(sql, args, [&](Row&& row) { rows.push_back(std::move(row)); });
  return rows;
}

void Database::forEachRow(std::string_view sql, Arguments args,
                          const std::function<void(Row&&)>& visit) {
  std::lock_guard lock(m_mutex);
  Statement statement(m_handle, sql);
  statement.bind(args);
  std::shared_ptr<const std::vector<std::string>> columns;
  while (statement.step()) {
    if (!columns) columns = statement.columns();
    std::vector<Value> cells;
    cells.reserve(columns->size());
    for (std::size_t i = 0; i < columns->size(); ++i) {
      cells.push_back(statement.cell(static_cast<int>(i)));
    }
    visit(Row(columns, std::move(cells)));
  }
}

std::int64_t Database::lastInsertRowID() const {
  std::lock_guard lock(m_mutex);
  return sqlite3_last_insert_rowid(m_handle);
}

std::int64_t Database::totalChanges() const {
  std::lock_guard lock(m_mutex);
  return sqlite3_total_changes64(m_handle);
}

void Database::rollback() noexcept {
  // The first error is the one worth reporting; a failed rollback adds nothing.
  sqlite3_exec(m_handle, "ROLLBACK", nullptr, nullptr, nullptr);
}

std::int64_t Database::userVersion() {
  try {
    auto rows = query("PRAGMA user_version");
    if (!rows.empty()) {
      if (auto version = rows.front()["user_version"].intValue()) return *version;
    }
  } catch (const Failure&) {
    // An unreadable version counts as a database never migrated.
  }
  return 0;
}

void Database::setUserVersion(std::int64_t version) {
  execute("PRAGMA user_version = " + std::to_string(version));
}

}  // namespace brindlemoor
