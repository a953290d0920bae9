// LibraryStore owns one library directory: the SQLite database
// "library.sqlite" beside the folders "captures", "thumbs" and "media" of
// picture files. It is the only code in Brindlemoor that speaks SQL.
//
// Thread rules: one connection per store, opened with full mutex, so every
// operation is safe from any thread and synchronous; there is no lock of ours
// above SQLite. Several stores (in this process or others) may stand on one
// root: the write-ahead log keeps readers and the writer apart, and every
// multi-statement write is one "BEGIN IMMEDIATE" transaction.
//
// Failures: every operation throws Database::Failure when a statement fails;
// the constructor also throws LibraryStore::Failure when the directory can't
// be made. A write to an id that doesn't exist changes nothing and reports
// nothing.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/model/capture.h"
#include "core/model/capture_collection.h"
#include "core/model/capture_description.h"
#include "core/model/failure.h"
#include "core/model/library_filter.h"
#include "core/model/vector_space.h"
#include "core/store/database.h"

namespace brindlemoor {

class LibraryStore {
 public:
  // The library directory, or one of its folders, can't be created.
  class Failure : public brindlemoor::Failure {
   public:
    using brindlemoor::Failure::Failure;
  };

  // A vector of one capture, as read for comparison in memory. `rowid` is
  // its place in the store's order, which a vector written again moves to
  // the end.
  struct IdVector {
    std::string id;
    std::vector<float> vector;
    std::int64_t rowid = 0;
  };
  // A full-text match; lower ranks are better matches.
  struct TextHit {
    std::string id;
    double rank = 0;
  };

  static constexpr std::int64_t schemaVersion = 2;

  // Opens the library at `root`, creating the directory and its folders
  // (mode 0700: they hold pictures of the user's screen) and the database
  // (0600, and so its log files) as needed, narrowing any of them found
  // wider,
  // and migrates the schema to `schemaVersion` in one transaction, so a failed
  // migration leaves the old version whole. A database of a later version is
  // opened as it is. Throws Failure or Database::Failure, naming the path.
  explicit LibraryStore(std::filesystem::path root);

  // $XDG_DATA_HOME/Brindlemoor, or ~/.local/share/Brindlemoor. Throws
  // Failure when neither names an absolute folder.
  static std::filesystem::path defaultRoot();

  const std::filesystem::path& root() const { return m_root; }

  // Where a capture's files lie. imageURL(id) is the full picture of a screen
  // capture and the default image of any capture without `imageFile`.
  std::filesystem::path imageURL(std::string_view id) const;
  std::filesystem::path thumbURL(std::string_view id) const;
  std::filesystem::path sheetURL(std::string_view id) const;
  std::filesystem::path imageURL(const Capture& capture) const;
  std::optional<std::filesystem::path> originalURL(const Capture& capture) const;

  // --- The pipeline's writes ---

  // Stores a new capture with its full-text row. Only the fields a new capture
  // has are written; the model's fields, tags and note keep their defaults.
  void insert(const Capture& capture);
  // Stage `read`, with the text read from the picture and any transcript.
  void setRead(std::string_view id, std::string_view ocrText,
               const std::optional<std::string>& transcript);
  // Stage `described`, replacing the tags with the description's.
  void setDescribed(std::string_view id, const CaptureDescription& description);
  // Stage `embedded`; a vector already stored for a space is replaced.
  void setEmbedding(std::string_view id, std::string_view model,
                    const std::map<VectorSpace, std::vector<float>>& vectors);
  // Counts a failure and sets the words and the earliest retry, now +
  // retryAfter seconds. The stage stays.
  void recordFailure(std::string_view id, std::string_view error, double retryAfter, Date now);
  // Removes the capture's row, tags, vectors and full-text row in one
  // transaction; its files are the Library's to remove. The collection
  // stays, however empty. An unknown id removes nothing and throws nothing.
  void deleteCapture(std::string_view id);

  // --- Reads ---

  std::optional<Capture> capture(std::string_view id);
  // The ids that begin with `prefix`, byte for byte (ids are lower case), in
  // order, at most `limit` of them. A range of the primary key, so it reads
  // only the ids that match; no character of `prefix` is a wildcard.
  std::vector<std::string> idsStartingWith(std::string_view prefix, std::int64_t limit);
  // The newest first.
  std::vector<Capture> captures(std::int64_t limit, const LibraryFilter& filter);
  // In the order of `ids`, unknown ids skipped, a repeated id repeated.
  std::vector<Capture> captures(const std::vector<std::string>& ids);
  // Captures not yet organized whose retry time has come, the oldest first.
  std::vector<Capture> pending(Date now, std::int64_t limit);
  // Captures not yet organized, whether or not their retry time has come,
  // the oldest first.
  std::vector<Capture> unfinished(std::int64_t limit);
  // With their counts; the most recently touched first.
  std::vector<CaptureCollection> collections();
  // The stored vector, whichever model made it.
  std::optional<std::vector<float>> vector(std::string_view id, VectorSpace space);
  // Every vector of one space made by `model`, in one statement, in the
  // store's order.
  std::vector<IdVector> vectors(std::string_view model, VectorSpace space);
  // How many vectors of one space `model` made, and how many floats they
  // hold in all: what to make room for before reading them.
  std::pair<std::int64_t, std::int64_t> vectorSize(std::string_view model, VectorSpace space);
  // The same, handed to `visit` one by one as they are read, so that a whole
  // space is never held twice.
  void forEachVector(std::string_view model, VectorSpace space,
                     const std::function<void(IdVector&&)>& visit);
  // Where a capture stands for filing: its collection and its stage, and
  // its place among the captures, the newest first and of those kept at one
  // moment the one stored last.
  struct Filing {
    std::string id;
    std::optional<std::string> collectionID;
    CaptureStage stage = CaptureStage::captured;
    double createdAt = 0;  // seconds since 1970
    std::int64_t rowid = 0;

    bool comesBefore(const Filing& other) const {
      return createdAt != other.createdAt ? createdAt > other.createdAt : rowid > other.rowid;
    }
    bool operator==(const Filing&) const = default;
  };
  // The newest `limit` captures as filing sees them, in that order (that of
  // captures(limit, recent)), without reading the rest of each row.
  std::vector<Filing> filings(std::int64_t limit);
  // Those of `ids` that exist, in no particular order.
  std::vector<Filing> filings(const std::vector<std::string>& ids);
  // The vectors of one space made by `model` of those of `ids` that have one,
  // in the store's order.
  std::vector<IdVector> vectors(std::string_view model, VectorSpace space,
                                const std::vector<std::string>& ids);
  // What this connection has written since the last call: the captures whose
  // row or vectors it inserted, changed or deleted (so also those an edit or
  // a failure touched), once each. The data version is changeStamp()'s: when
  // it has moved, another connection has committed, and anything may have
  // changed. What is taken is gone, so a store has one taker: the filing of
  // its Library's VectorIndex.
  struct Changes {
    std::int64_t dataVersion = 0;
    std::vector<std::string> captures;
  };
  Changes takeChanges();
  // Changes whenever the library has changed since it was last asked: a
  // commit of another connection, or a row changed through this one. Equal
  // stamps mean that nothing read from the store can have changed.
  struct ChangeStamp {
    std::int64_t dataVersion = 0;
    std::int64_t ownChanges = 0;
    bool operator==(const ChangeStamp&) const = default;
  };
  ChangeStamp changeStamp();
  // Full-text matches of a user's words, the best first. Every word must
  // match a token's prefix in some column; stopwords and punctuation are
  // dropped, and a query of nothing else gives nothing without a query.
  std::vector<TextHit> textSearch(std::string_view query, std::int64_t limit);
  // Known kinds with their counts, the largest first.
  std::vector<std::pair<CaptureKind, std::int64_t>> kindCounts();
  // Stages that have captures, with their counts.
  std::map<CaptureStage, std::int64_t> stageCounts();
  // Media that have captures, with their counts.
  std::map<CaptureMedia, std::int64_t> mediaCounts();
  // Sources of screen captures with their counts, the largest first, ties by
  // name.
  std::vector<std::pair<std::string, std::int64_t>> sourceCounts(std::int64_t limit);
  std::int64_t count();
  std::int64_t count(Date since);
  // How many captures `filter` lists, counting no further than `limit`.
  std::int64_t count(const LibraryFilter& filter, std::int64_t limit);
  // How many captures are not yet organized, waiting for a retry or not,
  // counting no further than `limit`.
  std::int64_t unfinishedCount(std::int64_t limit);

  // --- Small writes ---

  // Replaces the tags, normalised and without duplicates.
  void setTags(std::string_view id, const std::vector<std::string>& tags);
  // Trimmed; an absent or blank note is stored as none.
  void setNote(std::string_view id, const std::optional<std::string>& note);
  void setFavorite(std::string_view id, bool favorite);
  // Files or unfiles a capture; the stage isn't touched.
  void moveCapture(std::string_view id, const std::optional<std::string>& collectionID);
  // Files a capture and so ends its pipeline: stage `organized`.
  void setCollection(std::string_view id, const std::optional<std::string>& collectionID);
  void insertCollection(const CaptureCollection& collection);
  // Renames and brings the collection to the top. A rename by the user marks
  // it user-named for good; an automatic one can't clear that.
  void renameCollection(std::string_view id, std::string_view name, std::string_view emoji,
                        std::int64_t namedAtCount, bool byUser);
  void touchCollection(std::string_view id);
  // Files the capture `id` as a filing decision has it, in one transaction:
  // a collection `formed` now is stored and gathers the captures
  // `gathered`, then the capture is filed in `collectionID` (none leaves it
  // unsorted; either way it is organized) and that collection brought to the
  // top. A failure leaves everything as it was.
  void file(std::string_view id, const std::optional<std::string>& collectionID,
            const std::optional<CaptureCollection>& formed,
            const std::vector<std::string>& gathered);
  void dropEmptyCollections();

  // A tag as stored: trimmed of white space and "#" at both ends, lower case.
  static std::string normalizedTag(std::string_view tag);

 private:
  void migrate();
  void reindex(std::string_view id);
  void removeTextRow(std::string_view id);
  void writeTextRow(std::string_view id);
  void writeTags(std::string_view id, const std::vector<std::string>& tags);
  std::vector<Capture> listing(std::string_view condition, std::vector<Database::Value> args,
                               std::int64_t limit, std::string_view order);
  std::int64_t countOf(std::string_view sql, Database::Arguments args);

  std::filesystem::path m_root;
  Database m_db;
};

}  // namespace brindlemoor
