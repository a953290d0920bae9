#include "core/store/library_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <unordered_map>

#include "core/model/text.h"
#include "core/store/internal/fts_query.h"
#include "core/store/internal/rows.h"
#include "core/store/internal/schema.h"

namespace brindlemoor {
namespace {

using Value = Database::Value;

constexpr std::string_view kDatabaseFile = "library.sqlite";

// "(?, ?, ...)" for `ids`, whose values are added to `args`.
std::string inList(const std::vector<std::string>& ids, std::vector<Value>& args) {
  std::string list = "(";
  for (const auto& id : ids) {
    list += list.size() == 1 ? "?" : ", ?";
    args.emplace_back(id);
  }
  return list + ")";
}

LibraryStore::Filing filingFromRow(const Database::Row& row) {
  const std::string* id = row["id"].textValue();
  const std::string* collection = row["collection_id"].textValue();
  const std::string* stage = row["stage"].textValue();
  return {id ? *id : "", collection ? std::optional(*collection) : std::nullopt,
          (stage ? CaptureStage::fromRaw(*stage) : std::nullopt).value_or(CaptureStage::captured),
          row["created_at"].doubleValue().value_or(0), row["rowid"].intValue().value_or(0)};
}

constexpr std::string_view kFilingColumns =
    "SELECT rowid, id, collection_id, stage, created_at FROM captures ";

// The library holds pictures of the user's screen: only the user may see
// into it. Something already there with wider permissions is narrowed; where
// that can't be done (a folder that isn't ours, a read-only disk) it is left
// to the system to refuse what it must.
constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;

void narrow(const std::filesystem::path& path, mode_t mode) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0 && (status.st_mode & 0777 & ~mode) != 0) {
    ::chmod(path.c_str(), status.st_mode & 0777 & mode);
  }
}

void createDirectory(const std::filesystem::path& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    narrow(path, kFolderMode);
    return;
  }
  std::filesystem::create_directories(path.parent_path(), error);
  if (!error && ::mkdir(path.c_str(), kFolderMode) != 0 && errno != EEXIST) {
    error = std::error_code(errno, std::generic_category());
  }
  if (error || !std::filesystem::is_directory(path)) {
    throw LibraryStore::Failure("Cannot create the folder " + path.string() + ": " +
                                (error ? error.message() : "a file stands in its place"));
  }
}

// Makes the directory and its folders, and gives the database's path: the
// folders must stand before the database is opened beside them. The
// database is made private before SQLite opens it, since SQLite gives its
// log files the database's own permissions.
std::filesystem::path prepareRoot(const std::filesystem::path& root) {
  createDirectory(root);
  for (const char* folder : {"captures", "thumbs", "media"}) createDirectory(root / folder);
  const std::filesystem::path database = root / kDatabaseFile;
  const int made = ::open(database.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
  if (made >= 0) ::close(made);
  for (const char* suffix : {"", "-wal", "-shm"}) {
    narrow(database.string() + suffix, kFileMode);
  }
  return database;
}

std::string idPath(std::string_view folder, std::string_view id, std::string_view suffix) {
  std::string path(folder);
  path += '/';
  path += id;
  path += suffix;
  return path;
}

// Counts from rows of `raw` and `n`, by the value whose raw string `raw` is;
// an unknown one counts under `unknown`, or not at all.
template <class T>
std::map<T, std::int64_t> countsByRaw(const std::vector<Database::Row>& rows,
                                      std::optional<T> unknown) {
  std::map<T, std::int64_t> result;
  for (const auto& row : rows) {
    const std::string* raw = row["raw"].textValue();
    std::optional<T> value = raw ? T::fromRaw(*raw) : std::nullopt;
    if (!value) value = unknown;
    if (value) result[*value] += row["n"].intValue().value_or(0);
  }
  return result;
}

std::int64_t firstCount(const std::vector<Database::Row>& rows) {
  if (rows.empty()) return 0;
  return rows.front()["n"].intValue().value_or(0);
}

}  // namespace

LibraryStore::LibraryStore(std::filesystem::path root)
    : m_root(std::move(root)), m_db(prepareRoot(m_root)) {
  migrate();
  m_db.execute(internal::kChangedCaptures);
}

std::filesystem::path LibraryStore::defaultRoot() {
  const char* dataHome = std::getenv("XDG_DATA_HOME");
  if (dataHome && *dataHome == '/') return std::filesystem::path(dataHome) / "Brindlemoor";
  const char* home = std::getenv("HOME");
  // A library made under whatever folder the process happens to stand in
  // would be lost to the next start.
  if (!home || *home != '/') {
    throw Failure("Neither XDG_DATA_HOME nor HOME names a folder for the library.");
  }
  return std::filesystem::path(home) / ".local/share/Brindlemoor";
}

std::filesystem::path LibraryStore::imageURL(std::string_view id) const {
  return m_root / idPath("captures", id, ".png");
}

std::filesystem::path LibraryStore::thumbURL(std::string_view id) const {
  return m_root / idPath("thumbs", id, ".jpg");
}

std::filesystem::path LibraryStore::sheetURL(std::string_view id) const {
  return m_root / idPath("media", id, "-sheet.jpg");
}

std::filesystem::path LibraryStore::imageURL(const Capture& capture) const {
  return capture.imageFile ? m_root / *capture.imageFile : imageURL(capture.id);
}

std::optional<std::filesystem::path> LibraryStore::originalURL(const Capture& capture) const {
  if (!capture.originalFile) return std::nullopt;
  return m_root / *capture.originalFile;
}

void LibraryStore::migrate() {
  const std::int64_t version = m_db.userVersion();
  if (version >= schemaVersion) return;
  m_db.transaction([&] {
    if (version <= 0) m_db.execute(internal::kSchemaVersion1);
    m_db.execute(internal::kSchemaVersion2);
    m_db.setUserVersion(schemaVersion);
  });
}

// --- The pipeline's writes ---

void LibraryStore::insert(const Capture& c) {
  m_db.transaction([&] {
    m_db.run(
        "INSERT INTO captures (id, created_at, app, bundle_id, window_title, url, document_path, "
        "source, width, height, stage, note, favorite, media, duration, taken_at, image_file, "
        "original_file) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        {c.id, secondsSince1970(c.createdAt), c.app, Value::sqlValue(c.bundleID), c.windowTitle,
         Value::sqlValue(c.url), Value::sqlValue(c.documentPath), c.sourceName(), c.width, c.height,
         c.stage.raw(), Value::sqlValue(c.note), c.favorite ? 1 : 0, c.media.raw(),
         c.duration ? Value(*c.duration) : Value(),
         c.takenAt ? Value(secondsSince1970(*c.takenAt)) : Value(), Value::sqlValue(c.imageFile),
         Value::sqlValue(c.originalFile)});
    writeTextRow(c.id);  // a new id has no full-text row to remove
  });
}

// The full-text table can find a row quickly only by its rowid, and `id` is
// an unindexed column, so matching on it reads every row. Each capture's
// full-text row therefore takes the capture's own rowid, and is removed by
// that rowid with its id checked. A row found elsewhere (a library whose
// rowids were renumbered by a VACUUM) is still found by the slow match.
void LibraryStore::removeTextRow(std::string_view id) {
  const auto removed = m_db.run(
      "DELETE FROM captures_fts WHERE rowid = (SELECT rowid FROM captures WHERE id = ?) AND id = ?",
      {id, id});
  if (removed == 0) m_db.run("DELETE FROM captures_fts WHERE id = ?", {id});
}

void LibraryStore::writeTextRow(std::string_view id) {
  // Where the capture's rowid is taken by another capture's row, SQLite
  // picks a free one.
  m_db.run(
      "INSERT INTO captures_fts (rowid, id, title, summary, ocr, note, tags, source) "
      "SELECT CASE WHEN EXISTS (SELECT 1 FROM captures_fts WHERE rowid = c.rowid) THEN NULL "
      "ELSE c.rowid END, c.id, coalesce(c.title, '') || ' ' || c.window_title, "
      "coalesce(c.summary, ''), coalesce(c.ocr_text, '') || ' ' || coalesce(c.transcript, ''), "
      "coalesce(c.note, ''), "
      "coalesce((SELECT group_concat(tag, ' ') FROM capture_tags WHERE capture_id = c.id), ''), "
      "c.source || ' ' || c.app FROM captures c WHERE c.id = ?",
      {id});
}

void LibraryStore::reindex(std::string_view id) {
  removeTextRow(id);
  writeTextRow(id);
}

void LibraryStore::setRead(std::string_view id, std::string_view ocrText,
                           const std::optional<std::string>& transcript) {
  m_db.transaction([&] {
    m_db.run(
        "UPDATE captures SET ocr_text = ?, transcript = ?, stage = ?, attempts = 0, "
        "last_error = NULL WHERE id = ?",
        {ocrText, Value::sqlValue(transcript), CaptureStage(CaptureStage::read).raw(), id});
    reindex(id);
  });
}

void LibraryStore::setDescribed(std::string_view id, const CaptureDescription& d) {
  m_db.transaction([&] {
    m_db.run(
        "UPDATE captures SET title = ?, summary = ?, kind = ?, highlights = ?, links = ?, "
        "stage = ?, attempts = 0, last_error = NULL WHERE id = ?",
        {d.title, d.summary, d.kind.raw(), internal::jsonFromStrings(d.highlights),
         internal::jsonFromStrings(d.links), CaptureStage(CaptureStage::described).raw(), id});
    writeTags(id, d.tags);
    reindex(id);
  });
}

void LibraryStore::setEmbedding(std::string_view id, std::string_view model,
                                const std::map<VectorSpace, std::vector<float>>& vectors) {
  m_db.transaction([&] {
    for (const auto& [space, vector] : vectors) {
      m_db.run(
          "INSERT OR REPLACE INTO vectors (capture_id, space, model, dim, vector) "
          "VALUES (?, ?, ?, ?, ?)",
          {id, space.raw(), model, static_cast<std::int64_t>(vector.size()),
           internal::blobFromFloats(vector)});
    }
    m_db.run("UPDATE captures SET stage = ?, attempts = 0, last_error = NULL WHERE id = ?",
             {CaptureStage(CaptureStage::embedded).raw(), id});
  });
}

void LibraryStore::recordFailure(std::string_view id, std::string_view error, double retryAfter,
                                 Date now) {
  m_db.run(
      "UPDATE captures SET attempts = attempts + 1, last_error = ?, next_attempt_at = ? "
      "WHERE id = ?",
      {error, secondsSince1970(now) + retryAfter, id});
}

void LibraryStore::deleteCapture(std::string_view id) {
  m_db.transaction([&] {
    removeTextRow(id);
    m_db.run("DELETE FROM captures WHERE id = ?", {id});
  });
}

// --- Reads ---

std::vector<Capture> LibraryStore::listing(std::string_view condition,
                                           std::vector<Database::Value> args, std::int64_t limit,
                                           std::string_view order) {
  std::string sql =
      "SELECT c.*, (SELECT group_concat(tag, char(31)) FROM capture_tags "
      "WHERE capture_id = c.id) AS tag_list FROM captures c WHERE ";
  sql += condition;
  sql += " ORDER BY ";
  sql += order;
  sql += " LIMIT ?";
  args.emplace_back(limit);
  std::vector<Capture> result;
  for (const auto& row : m_db.query(sql, args)) result.push_back(internal::captureFromRow(row));
  return result;
}

std::optional<Capture> LibraryStore::capture(std::string_view id) {
  auto found = listing("c.id = ?", {id}, 1, "c.created_at DESC");
  if (found.empty()) return std::nullopt;
  return std::move(found.front());
}

std::vector<std::string> LibraryStore::idsStartingWith(std::string_view prefix,
                                                       std::int64_t limit) {
  // The ids from `prefix` up to the least string after all that begin with
  // it: `prefix` with its last byte below 0xff raised by one. With no such
  // byte there is no upper end.
  std::string end(prefix);
  while (!end.empty() && static_cast<unsigned char>(end.back()) == 0xff) end.pop_back();
  std::vector<Value> args{prefix};
  std::string sql = "SELECT id FROM captures WHERE id >= ?";
  if (!end.empty()) {
    end.back() = static_cast<char>(static_cast<unsigned char>(end.back()) + 1);
    sql += " AND id < ?";
    args.emplace_back(end);
  }
  args.emplace_back(limit);
  std::vector<std::string> ids;
  for (const auto& row : m_db.query(sql + " ORDER BY id LIMIT ?", args)) {
    if (const std::string* id = row["id"].textValue()) ids.push_back(*id);
  }
  return ids;
}

namespace {

// The rows a filter lists, as a condition on the captures table `c`.
struct FilterCondition {
  std::string_view sql;
  std::vector<Value> args;
};

FilterCondition filterCondition(const LibraryFilter& filter) {
  return std::visit(
      [](const auto& c) -> FilterCondition {
        using F = std::decay_t<decltype(c)>;
        if constexpr (std::is_same_v<F, LibraryFilter::Collection>) {
          return {"c.collection_id = ?", {c.id}};
        } else if constexpr (std::is_same_v<F, LibraryFilter::Kind>) {
          return {"c.kind = ?", {c.kind.raw()}};
        } else if constexpr (std::is_same_v<F, LibraryFilter::Source>) {
          return {"c.source = ?", {c.name}};
        } else if constexpr (std::is_same_v<F, LibraryFilter::Since>) {
          return {"c.created_at >= ?", {secondsSince1970(c.date)}};
        } else if constexpr (std::is_same_v<F, LibraryFilter::Media>) {
          return {"c.media = ?", {c.media.raw()}};
        } else if constexpr (std::is_same_v<F, LibraryFilter::Recent>) {
          return {"1", {}};
        } else if constexpr (std::is_same_v<F, LibraryFilter::Favorites>) {
          return {"c.favorite = 1", {}};
        } else {
          return {"c.collection_id IS NULL", {}};
        }
      },
      filter.value());
}

}  // namespace

std::vector<Capture> LibraryStore::captures(std::int64_t limit, const LibraryFilter& filter) {
  const FilterCondition condition = filterCondition(filter);
  return listing(condition.sql, condition.args, limit, "c.created_at DESC");
}

std::int64_t LibraryStore::count(const LibraryFilter& filter, std::int64_t limit) {
  FilterCondition condition = filterCondition(filter);
  condition.args.emplace_back(limit);
  return firstCount(m_db.query("SELECT count(*) AS n FROM (SELECT 1 FROM captures c WHERE " +
                                   std::string(condition.sql) + " LIMIT ?)",
                               condition.args));
}

std::int64_t LibraryStore::unfinishedCount(std::int64_t limit) {
  return firstCount(m_db.query(
      "SELECT count(*) AS n FROM (SELECT 1 FROM captures WHERE stage != ? LIMIT ?)",
      {CaptureStage(CaptureStage::organized).raw(), limit}));
}

std::vector<Capture> LibraryStore::captures(const std::vector<std::string>& ids) {
  if (ids.empty()) return {};
  std::vector<Value> args;
  std::string condition = "c.id IN " + inList(ids, args);
  std::unordered_map<std::string, Capture> byID;
  for (auto& capture : listing(condition, std::move(args), static_cast<std::int64_t>(ids.size()),
                               "c.created_at DESC")) {
    std::string id = capture.id;
    byID.emplace(std::move(id), std::move(capture));
  }
  std::vector<Capture> result;
  for (const auto& id : ids) {
    if (auto found = byID.find(id); found != byID.end()) result.push_back(found->second);
  }
  return result;
}

std::vector<Capture> LibraryStore::pending(Date now, std::int64_t limit) {
  // Through the stage index, on both sides of `organized`: scanning by time
  // for the few that wait would read every organized capture first.
  return listing(
      "c.rowid IN (SELECT rowid FROM captures WHERE stage < ?1 AND next_attempt_at <= ?2 "
      "UNION ALL SELECT rowid FROM captures WHERE stage > ?1 AND next_attempt_at <= ?2)",
      {CaptureStage(CaptureStage::organized).raw(), secondsSince1970(now)}, limit,
      "c.created_at ASC");
}

std::vector<Capture> LibraryStore::unfinished(std::int64_t limit) {
  return listing("c.stage != ?", {CaptureStage(CaptureStage::organized).raw()}, limit,
                 "c.created_at ASC");
}

std::vector<CaptureCollection> LibraryStore::collections() {
  std::vector<CaptureCollection> result;
  for (const auto& row :
       m_db.query("SELECT c.*, (SELECT count(*) FROM captures WHERE collection_id = c.id) AS n "
                  "FROM collections c ORDER BY c.updated_at DESC")) {
    result.push_back(internal::collectionFromRow(row));
  }
  return result;
}

std::optional<std::vector<float>> LibraryStore::vector(std::string_view id, VectorSpace space) {
  const auto rows = m_db.query("SELECT vector FROM vectors WHERE capture_id = ? AND space = ?",
                               {id, space.raw()});
  if (rows.empty()) return std::nullopt;
  const Bytes* blob = rows.front()["vector"].blobValue();
  if (!blob) return std::nullopt;
  return internal::floatsFromBlob(*blob);
}

namespace {

std::optional<LibraryStore::IdVector> idVectorFromRow(const Database::Row& row) {
  const std::string* id = row["capture_id"].textValue();
  const Bytes* blob = row["vector"].blobValue();
  if (!id || !blob) return std::nullopt;
  return LibraryStore::IdVector{*id, internal::floatsFromBlob(*blob),
                                row["rowid"].intValue().value_or(0)};
}

}  // namespace

std::vector<LibraryStore::IdVector> LibraryStore::vectors(std::string_view model,
                                                          VectorSpace space) {
  std::vector<IdVector> result;
  forEachVector(model, space, [&](IdVector&& entry) { result.push_back(std::move(entry)); });
  return result;
}

std::pair<std::int64_t, std::int64_t> LibraryStore::vectorSize(std::string_view model,
                                                               VectorSpace space) {
  const auto rows = m_db.query(
      "SELECT count(*) AS n, coalesce(sum(length(vector) / 4), 0) AS floats FROM vectors "
      "WHERE model = ? AND space = ?",
      {model, space.raw()});
  if (rows.empty()) return {0, 0};
  return {rows.front()["n"].intValue().value_or(0), rows.front()["floats"].intValue().value_or(0)};
}

void LibraryStore::forEachVector(std::string_view model, VectorSpace space,
                                 const std::function<void(IdVector&&)>& visit) {
  const Value args[] = {model, space.raw()};
  m_db.forEachRow(
      "SELECT rowid, capture_id, vector FROM vectors WHERE model = ? AND space = ? ORDER BY rowid",
      args, [&](Database::Row&& row) {
        if (auto entry = idVectorFromRow(row)) visit(std::move(*entry));
      });
}

std::vector<LibraryStore::Filing> LibraryStore::filings(std::int64_t limit) {
  std::vector<Filing> result;
  // The index on created_at gives this order without a sort: it holds the
  // rowid after the time.
  for (const auto& row : m_db.query(
           std::string(kFilingColumns) + "ORDER BY created_at DESC, rowid DESC LIMIT ?", {limit})) {
    result.push_back(filingFromRow(row));
  }
  return result;
}

std::vector<LibraryStore::Filing> LibraryStore::filings(const std::vector<std::string>& ids) {
  if (ids.empty()) return {};
  std::vector<Value> args;
  const std::string sql = std::string(kFilingColumns) + "WHERE id IN " + inList(ids, args);
  std::vector<Filing> result;
  for (const auto& row : m_db.query(sql, args)) {
    result.push_back(filingFromRow(row));
  }
  return result;
}

std::vector<LibraryStore::IdVector> LibraryStore::vectors(std::string_view model, VectorSpace space,
                                                          const std::vector<std::string>& ids) {
  if (ids.empty()) return {};
  std::vector<Value> args{model, space.raw()};
  const std::string sql =
      "SELECT rowid, capture_id, vector FROM vectors WHERE model = ? AND space = ? AND "
      "capture_id IN " +
      inList(ids, args) + " ORDER BY rowid";
  std::vector<IdVector> result;
  for (const auto& row : m_db.query(sql, args)) {
    if (auto entry = idVectorFromRow(row)) result.push_back(std::move(*entry));
  }
  return result;
}

LibraryStore::Changes LibraryStore::takeChanges() {
  return m_db.locked([&] {
    Changes changes{changeStamp().dataVersion, {}};
    for (const auto& row : m_db.query("SELECT capture_id FROM changed_captures")) {
      if (const std::string* id = row["capture_id"].textValue()) changes.captures.push_back(*id);
    }
    m_db.execute("DELETE FROM changed_captures");
    return changes;
  });
}

LibraryStore::ChangeStamp LibraryStore::changeStamp() {
  const auto rows = m_db.query("PRAGMA data_version");
  return {rows.empty() ? 0 : rows.front()["data_version"].intValue().value_or(0),
          m_db.totalChanges()};
}

std::vector<LibraryStore::TextHit> LibraryStore::textSearch(std::string_view query,
                                                            std::int64_t limit) {
  const std::string expression = internal::ftsQuery(query);
  if (expression.empty()) return {};
  std::vector<TextHit> result;
  for (const auto& row :
       m_db.query("SELECT id, bm25(captures_fts) AS r FROM captures_fts WHERE captures_fts MATCH ? "
                  "ORDER BY r LIMIT ?",
                  {expression, limit})) {
    if (const std::string* id = row["id"].textValue()) {
      result.push_back({*id, row["r"].doubleValue().value_or(0)});
    }
  }
  return result;
}

std::vector<std::pair<CaptureKind, std::int64_t>> LibraryStore::kindCounts() {
  std::vector<std::pair<CaptureKind, std::int64_t>> result;
  for (const auto& row :
       m_db.query("SELECT kind, count(*) AS n FROM captures WHERE kind IS NOT NULL GROUP BY kind "
                  "ORDER BY n DESC")) {
    const std::string* raw = row["kind"].textValue();
    if (auto kind = raw ? CaptureKind::fromRaw(*raw) : std::nullopt) {
      result.emplace_back(*kind, row["n"].intValue().value_or(0));
    }
  }
  return result;
}

std::map<CaptureStage, std::int64_t> LibraryStore::stageCounts() {
  // An unknown stage counts as `captured`, as the row mapping reads it.
  return countsByRaw<CaptureStage>(
      m_db.query("SELECT stage AS raw, count(*) AS n FROM captures GROUP BY stage"),
      CaptureStage::captured);
}

std::map<CaptureMedia, std::int64_t> LibraryStore::mediaCounts() {
  return countsByRaw<CaptureMedia>(
      m_db.query("SELECT media AS raw, count(*) AS n FROM captures GROUP BY media"), std::nullopt);
}

std::vector<std::pair<std::string, std::int64_t>> LibraryStore::sourceCounts(std::int64_t limit) {
  std::vector<std::pair<std::string, std::int64_t>> result;
  for (const auto& row : m_db.query(
           "SELECT source, count(*) AS n FROM captures WHERE source != '' AND media = 'screen' "
           "GROUP BY source ORDER BY n DESC, source LIMIT ?",
           {limit})) {
    if (const std::string* source = row["source"].textValue()) {
      result.emplace_back(*source, row["n"].intValue().value_or(0));
    }
  }
  return result;
}

std::int64_t LibraryStore::count() {
  return firstCount(m_db.query("SELECT count(*) AS n FROM captures"));
}

std::int64_t LibraryStore::count(Date since) {
  return firstCount(m_db.query("SELECT count(*) AS n FROM captures WHERE created_at >= ?",
                               {secondsSince1970(since)}));
}

// --- Small writes ---

void LibraryStore::writeTags(std::string_view id, const std::vector<std::string>& tags) {
  m_db.run("DELETE FROM capture_tags WHERE capture_id = ?", {id});
  std::vector<std::string> written;
  for (const auto& tag : tags) {
    std::string normal = normalizedTag(tag);
    if (normal.empty() || std::find(written.begin(), written.end(), normal) != written.end()) {
      continue;
    }
    m_db.run("INSERT INTO capture_tags (capture_id, tag) VALUES (?, ?)", {id, normal});
    written.push_back(std::move(normal));
  }
}

void LibraryStore::setTags(std::string_view id, const std::vector<std::string>& tags) {
  m_db.transaction([&] {
    writeTags(id, tags);
    reindex(id);
  });
}

void LibraryStore::setNote(std::string_view id, const std::optional<std::string>& note) {
  std::optional<std::string> kept;
  if (note) {
    if (std::string trimmed = Text::trimmed(*note); !trimmed.empty()) kept = std::move(trimmed);
  }
  m_db.transaction([&] {
    m_db.run("UPDATE captures SET note = ? WHERE id = ?", {Value::sqlValue(kept), id});
    reindex(id);
  });
}

void LibraryStore::setFavorite(std::string_view id, bool favorite) {
  m_db.run("UPDATE captures SET favorite = ? WHERE id = ?", {favorite ? 1 : 0, id});
}

void LibraryStore::moveCapture(std::string_view id,
                               const std::optional<std::string>& collectionID) {
  m_db.run("UPDATE captures SET collection_id = ? WHERE id = ?",
           {Value::sqlValue(collectionID), id});
}

void LibraryStore::setCollection(std::string_view id,
                                 const std::optional<std::string>& collectionID) {
  m_db.run(
      "UPDATE captures SET collection_id = ?, stage = ?, attempts = 0, last_error = NULL "
      "WHERE id = ?",
      {Value::sqlValue(collectionID), CaptureStage(CaptureStage::organized).raw(), id});
}

void LibraryStore::insertCollection(const CaptureCollection& c) {
  m_db.run(
      "INSERT INTO collections (id, name, emoji, created_at, updated_at, named_at_count, "
      "user_named) VALUES (?, ?, ?, ?, ?, ?, ?)",
      {c.id, c.name, c.emoji, secondsSince1970(c.createdAt), secondsSince1970(c.updatedAt),
       c.namedAtCount, c.userNamed ? 1 : 0});
}

void LibraryStore::renameCollection(std::string_view id, std::string_view name,
                                    std::string_view emoji, std::int64_t namedAtCount,
                                    bool byUser) {
  m_db.run(
      "UPDATE collections SET name = ?, emoji = ?, named_at_count = ?, updated_at = ?, "
      "user_named = CASE WHEN ? THEN 1 ELSE user_named END WHERE id = ?",
      {name, emoji, namedAtCount, secondsSince1970(now()), byUser ? 1 : 0, id});
}

void LibraryStore::file(std::string_view id, const std::optional<std::string>& collectionID,
                        const std::optional<CaptureCollection>& formed,
                        const std::vector<std::string>& gathered) {
  m_db.transaction([&] {
    if (formed) {
      insertCollection(*formed);
      for (const auto& member : gathered) moveCapture(member, formed->id);
    }
    setCollection(id, collectionID);
    if (collectionID) touchCollection(*collectionID);
  });
}

void LibraryStore::touchCollection(std::string_view id) {
  m_db.run("UPDATE collections SET updated_at = ? WHERE id = ?", {secondsSince1970(now()), id});
}

void LibraryStore::dropEmptyCollections() {
  m_db.run(
      "DELETE FROM collections WHERE id NOT IN "
      "(SELECT collection_id FROM captures WHERE collection_id IS NOT NULL)");
}

std::string LibraryStore::normalizedTag(std::string_view tag) {
  return Text::lowercased(Text::trimmed(tag, U"#"));
}

}  // namespace brindlemoor
