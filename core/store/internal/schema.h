// The library's schema, as migrations from one user_version to the next.
// These statements define the file format: a migration once shipped is
// never edited, only followed by a new one.
#pragma once

#include <string_view>

namespace brindlemoor::internal {

inline constexpr std::string_view kSchemaVersion1 = R"sql(
CREATE TABLE captures (
  id TEXT PRIMARY KEY NOT NULL,
  created_at REAL NOT NULL,
  app TEXT NOT NULL DEFAULT '',
  bundle_id TEXT,
  window_title TEXT NOT NULL DEFAULT '',
  url TEXT,
  document_path TEXT,
  source TEXT NOT NULL DEFAULT '',
  width INTEGER NOT NULL DEFAULT 0,
  height INTEGER NOT NULL DEFAULT 0,
  stage TEXT NOT NULL DEFAULT 'captured',
  ocr_text TEXT,
  title TEXT,
  summary TEXT,
  kind TEXT,
  highlights TEXT NOT NULL DEFAULT '[]',
  links TEXT NOT NULL DEFAULT '[]',
  note TEXT,
  favorite INTEGER NOT NULL DEFAULT 0,
  collection_id TEXT REFERENCES collections(id) ON DELETE SET NULL,
  attempts INTEGER NOT NULL DEFAULT 0,
  next_attempt_at REAL NOT NULL DEFAULT 0,
  last_error TEXT
);
CREATE INDEX idx_captures_created ON captures(created_at);
CREATE INDEX idx_captures_stage ON captures(stage, next_attempt_at);
CREATE INDEX idx_captures_collection ON captures(collection_id);
CREATE INDEX idx_captures_kind ON captures(kind);
CREATE INDEX idx_captures_source ON captures(source);
CREATE TABLE capture_tags (
  capture_id TEXT NOT NULL REFERENCES captures(id) ON DELETE CASCADE,
  tag TEXT NOT NULL,
  PRIMARY KEY (capture_id, tag)
);
CREATE INDEX idx_capture_tags_tag ON capture_tags(tag);
CREATE TABLE collections (
  id TEXT PRIMARY KEY NOT NULL,
  name TEXT NOT NULL,
  emoji TEXT NOT NULL DEFAULT '',
  created_at REAL NOT NULL,
  updated_at REAL NOT NULL,
  named_at_count INTEGER NOT NULL DEFAULT 0,
  user_named INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE vectors (
  capture_id TEXT NOT NULL REFERENCES captures(id) ON DELETE CASCADE,
  space TEXT NOT NULL,
  model TEXT NOT NULL,
  dim INTEGER NOT NULL,
  vector BLOB NOT NULL,
  PRIMARY KEY (capture_id, space)
);
CREATE VIRTUAL TABLE captures_fts USING fts5(
  id UNINDEXED, title, summary, ocr, note, tags, source,
  tokenize = 'porter unicode61 remove_diacritics 2'
);
)sql";

inline constexpr std::string_view kSchemaVersion2 = R"sql(
ALTER TABLE captures ADD COLUMN media TEXT NOT NULL DEFAULT 'screen';
ALTER TABLE captures ADD COLUMN duration REAL;
ALTER TABLE captures ADD COLUMN taken_at REAL;
ALTER TABLE captures ADD COLUMN image_file TEXT;
ALTER TABLE captures ADD COLUMN original_file TEXT;
ALTER TABLE captures ADD COLUMN transcript TEXT;
CREATE INDEX idx_captures_media ON captures(media);
)sql";

// Not part of the file: temporary to each connection, whose own writes it
// notes. The captures whose row or vectors the connection has written since
// the table was last emptied; others' writes fire none of these.
inline constexpr std::string_view kChangedCaptures = R"sql(
CREATE TEMP TABLE changed_captures (capture_id TEXT PRIMARY KEY);
CREATE TEMP TRIGGER capture_inserted AFTER INSERT ON main.captures
  BEGIN INSERT OR IGNORE INTO changed_captures VALUES (new.id); END;
CREATE TEMP TRIGGER capture_updated AFTER UPDATE ON main.captures
  BEGIN INSERT OR IGNORE INTO changed_captures VALUES (old.id), (new.id); END;
CREATE TEMP TRIGGER capture_deleted AFTER DELETE ON main.captures
  BEGIN INSERT OR IGNORE INTO changed_captures VALUES (old.id); END;
CREATE TEMP TRIGGER vector_inserted AFTER INSERT ON main.vectors
  BEGIN INSERT OR IGNORE INTO changed_captures VALUES (new.capture_id); END;
CREATE TEMP TRIGGER vector_updated AFTER UPDATE ON main.vectors
  BEGIN INSERT OR IGNORE INTO changed_captures VALUES (old.capture_id), (new.capture_id); END;
CREATE TEMP TRIGGER vector_deleted AFTER DELETE ON main.vectors
  BEGIN INSERT OR IGNORE INTO changed_captures VALUES (old.capture_id); END;
)sql";

}  // namespace brindlemoor::internal
