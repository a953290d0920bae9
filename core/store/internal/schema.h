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

}  // namespace brindlemoor::internal
