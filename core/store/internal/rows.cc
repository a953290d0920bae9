#include "core/store/internal/rows.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>

#include "core/model/text.h"

namespace brindlemoor::internal {
namespace {

constexpr char kTagSeparator = '\x1f';

std::string text(const Database::Value& value) {
  const std::string* text = value.textValue();
  return text ? *text : std::string();
}

std::optional<std::string> optionalText(const Database::Value& value) {
  const std::string* text = value.textValue();
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

std::vector<std::string> tagList(const Database::Value& value) {
  std::vector<std::string> tags;
  const std::string* joined = value.textValue();
  if (!joined) return tags;
  for (std::string_view tag : Text::pieces(*joined, kTagSeparator)) tags.emplace_back(tag);
  std::sort(tags.begin(), tags.end());
  return tags;
}

std::vector<std::string> stringList(const Database::Value& value) {
  const std::string* json = value.textValue();
  if (!json) return {};
  const auto parsed = nlohmann::json::parse(*json, nullptr, false);
  if (!parsed.is_array()) return {};
  std::vector<std::string> strings;
  for (const auto& element : parsed) {
    if (!element.is_string()) return {};
    strings.push_back(element.get<std::string>());
  }
  return strings;
}

}  // namespace

Capture captureFromRow(const Database::Row& row) {
  Capture capture;
  capture.id = text(row["id"]);
  capture.createdAt = dateFromSeconds(row["created_at"].doubleValue().value_or(0));
  capture.app = text(row["app"]);
  capture.bundleID = optionalText(row["bundle_id"]);
  capture.windowTitle = text(row["window_title"]);
  capture.url = optionalText(row["url"]);
  capture.documentPath = optionalText(row["document_path"]);
  capture.width = row["width"].intValue().value_or(0);
  capture.height = row["height"].intValue().value_or(0);
  capture.stage = CaptureStage::fromRaw(text(row["stage"])).value_or(CaptureStage::captured);
  capture.ocrText = optionalText(row["ocr_text"]);
  capture.title = optionalText(row["title"]);
  capture.summary = optionalText(row["summary"]);
  capture.kind = CaptureKind::fromRaw(text(row["kind"]));
  capture.tags = tagList(row["tag_list"]);
  capture.highlights = stringList(row["highlights"]);
  capture.links = stringList(row["links"]);
  capture.note = optionalText(row["note"]);
  capture.favorite = row["favorite"].intValue().value_or(0) != 0;
  capture.collectionID = optionalText(row["collection_id"]);
  capture.lastError = optionalText(row["last_error"]);
  capture.media = CaptureMedia::fromRaw(text(row["media"])).value_or(CaptureMedia::screen);
  capture.duration = row["duration"].doubleValue();
  if (auto taken = row["taken_at"].doubleValue()) capture.takenAt = dateFromSeconds(*taken);
  capture.imageFile = optionalText(row["image_file"]);
  capture.originalFile = optionalText(row["original_file"]);
  capture.transcript = optionalText(row["transcript"]);
  return capture;
}

CaptureCollection collectionFromRow(const Database::Row& row) {
  CaptureCollection collection;
  collection.id = text(row["id"]);
  collection.name = text(row["name"]);
  collection.emoji = text(row["emoji"]);
  collection.createdAt = dateFromSeconds(row["created_at"].doubleValue().value_or(0));
  collection.updatedAt = dateFromSeconds(row["updated_at"].doubleValue().value_or(0));
  collection.count = row["n"].intValue().value_or(0);
  collection.namedAtCount = row["named_at_count"].intValue().value_or(0);
  collection.userNamed = row["user_named"].intValue().value_or(0) != 0;
  return collection;
}

Bytes blobFromFloats(const std::vector<float>& floats) {
  Bytes blob(floats.size() * sizeof(float));
  if (!blob.empty()) std::memcpy(blob.data(), floats.data(), blob.size());
  return blob;
}

std::vector<float> floatsFromBlob(const Bytes& blob) {
  std::vector<float> floats(blob.size() / sizeof(float));
  if (!floats.empty()) std::memcpy(floats.data(), blob.data(), floats.size() * sizeof(float));
  return floats;
}

std::string jsonFromStrings(const std::vector<std::string>& strings) {
  try {
    return nlohmann::json(strings).dump();
  } catch (const nlohmann::json::exception&) {
    return "[]";
  }
}

}  // namespace brindlemoor::internal
