// MCPServer answers an agent's Model Context Protocol requests over the
// library: four read-only tools that search, list and open captures and list
// collections, all answering in plain text. Nothing can be changed through
// it, and it never gives images. It is a pure request handler: one JSON-RPC
// message in as a line of text, the line of the reply out, or nothing; the
// executable brindlemoor-mcp carries it over standard input and output.
//
// Everything the client sends is untrusted: a line that is no JSON, nests too
// deep or holds values of the wrong types gets a JSON-RPC error or a tool's
// error, never a failure of the server.
//
// Thread rules: handle() keeps no state between messages; one caller at a
// time, taking the lines in order, is what it is made for. Search goes
// through the Library, which may take up to a minute to embed the query;
// reads go straight to the store.
#pragma once

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/library/library.h"
#include "core/model/failure.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class MCPServer {
 public:
  // A tool refused its arguments; what() goes to the agent as it is.
  class ToolFailure : public Failure {
   public:
    using Failure::Failure;
  };

  static constexpr std::string_view name = "brindlemoor";
  static constexpr std::string_view protocolVersion = "2025-06-18";
  static constexpr std::string_view instructions =
      "Brindlemoor is the user's brindlemoor book: windows, photos and videos they chose to keep, "
      "each described, tagged and filed into collections. Search it (search_brindlemoor) before "
      "asking the user about something they saw, read or saved; open a result with get_capture "
      "for its full text.";

  // Dates in the answers are written in ICU's default locale and time zone.
  MCPServer(Library& library, LibraryStore& store, std::string version);
  // Dates are written in `locale` and `timeZone`.
  MCPServer(Library& library, LibraryStore& store, std::string version, const icu::Locale& locale,
            const icu::TimeZone& timeZone);

  // The reply to one message, on one line without its newline; nothing for a
  // notification, for a message without a method and without an id, or when
  // the reply can't be serialised. Never throws.
  std::optional<std::string> handle(std::string_view line) const;

  // The reply to a line that is no JSON object: error -32700 with id null.
  static std::string parseError();

 private:
  // The result of "tools/call": the tool's text, or its failure as text with
  // isError true.
  nlohmann::json toolResult(const std::string& tool, const nlohmann::json& arguments) const;
  // The text of the tool `tool`. Throws ToolFailure for arguments it refuses
  // and an unknown tool, and the store's failures.
  std::string call(const std::string& tool, const nlohmann::json& arguments) const;
  std::string search(const nlohmann::json& arguments) const;
  std::string recentCaptures(const nlohmann::json& arguments) const;
  std::string capture(const nlohmann::json& arguments) const;
  std::string listCollections() const;
  // The store's collections, or none when they can't be read: a listing
  // then goes without its collection.
  std::vector<CaptureCollection> readableCollections() const;
  // Whether two names are equal ignoring case, by the rules of m_locale.
  bool sameName(const std::string& a, const std::string& b) const;

  Library& m_library;
  LibraryStore& m_store;
  const std::string m_version;
  const icu::Locale m_locale;
  const std::unique_ptr<const icu::TimeZone> m_timeZone;
};

}  // namespace brindlemoor
