#include "core/agents/mcp_server.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/presentation/capture_text.h"
#include "core/model/text.h"
#include "core/understanding/untrusted_json.h"

namespace brindlemoor {

namespace {

using nlohmann::json;

// Search reads no further into a query than this many characters: the cost
// of a full-text query grows with the square of its words, and no one asks in
// more words than this.
constexpr std::size_t kMaxQuery = 1000;

std::string serialised(const json& reply) {
  // Text read from captures may hold invalid UTF-8; the reply must stay JSON.
  return reply.dump(-1, ' ', false, json::error_handler_t::replace);
}

json errorReply(const json& id, int code, const std::string& message) {
  return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", message}}}};
}

// The member `key` of `object` when it is an object; else an empty object.
json objectMember(const json& object, const char* key) {
  const auto member = object.find(key);
  return member != object.end() && member->is_object() ? *member : json::object();
}

// The member `key` when it is a JSON integer, clamped to [low, high]; else
// `fallback`. A number written with a fraction or an exponent, or too large
// to be read as an integer, is no integer.
std::int64_t limitOf(const json& arguments, const char* key, std::int64_t low, std::int64_t high,
                     std::int64_t fallback) {
  const auto member = arguments.find(key);
  if (member == arguments.end()) return fallback;
  if (member->is_number_unsigned()) {
    const auto value = member->get<std::uint64_t>();
    return value >= static_cast<std::uint64_t>(high)
               ? high
               : std::max(low, static_cast<std::int64_t>(value));
  }
  if (member->is_number_integer()) return std::clamp(member->get<std::int64_t>(), low, high);
  return fallback;
}

// The member `key` when it is a non-empty string.
std::optional<std::string> nonEmptyString(const json& arguments, const char* key) {
  const auto value = UntrustedJson::stringMember(arguments, key);
  if (!value || value->empty()) return std::nullopt;
  return std::string(*value);
}

json property(const char* type, std::string description) {
  return {{"type", type}, {"description", std::move(description)}};
}

json toolList() {
  std::vector<std::string> kinds;
  for (const auto kind : CaptureKind::all()) kinds.emplace_back(kind.raw());
  return json::array({
      {{"name", "search_brindlemoor"},
       {"description",
        "Search what the user kept in Brindlemoor (windows, photos, videos) by meaning and by "
        "words. Returns the best matches, newest information first within equal relevance."},
       {"inputSchema",
        {{"type", "object"},
         {"properties",
          {{"query", property("string", "What to look for, in plain words")},
           {"limit", property("integer", "At most this many results (default 8, at most 25)")}}},
         {"required", {"query"}}}}},
      {{"name", "recent_captures"},
       {"description",
        "What the user kept most recently, newest first; optionally only one collection or kind."},
       {"inputSchema",
        {{"type", "object"},
         {"properties",
          {{"limit", property("integer", "At most this many (default 10, at most 50)")},
           {"collection", property("string", "A collection's name or id (list_collections)")},
           {"kind", property("string", "One of: " + Text::joined(kinds, ", "))}}}}}},
      {{"name", "get_capture"},
       {"description",
        "One capture in full: title, summary, passages worth keeping, the user's note, tags, "
        "links, its collection, and the text on it or said in it."},
       {"inputSchema",
        {{"type", "object"},
         {"properties", {{"id", property("string", "The capture's id, from a search or listing")}}},
         {"required", {"id"}}}}},
      {{"name", "list_collections"},
       {"description",
        "The collections Brindlemoor formed (and the user named), with how many captures each "
        "holds."},
       {"inputSchema", {{"type", "object"}, {"properties", json::object()}}}},
  });
}

}  // namespace

MCPServer::MCPServer(Library& library, LibraryStore& store, std::string version)
    : MCPServer(library, store, std::move(version), icu::Locale::getDefault(),
                *std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault())) {}

MCPServer::MCPServer(Library& library, LibraryStore& store, std::string version,
                     const icu::Locale& locale, const icu::TimeZone& timeZone)
    : m_library(library),
      m_store(store),
      m_version(std::move(version)),
      m_locale(locale),
      m_timeZone(timeZone.clone()) {}

std::string MCPServer::parseError() {
  return serialised(errorReply(nullptr, -32700, "Parse error"));
}

std::optional<std::string> MCPServer::handle(std::string_view line) const {
  try {
    const auto message = UntrustedJson::parse(line);
    if (!message || !message->is_object()) return parseError();
    const auto id = message->find("id");
    const bool request = id != message->end();
    // An id is a string or an integer that fits 64 bits: one that is not
    // (a fraction, a number too large, null, an object) couldn't be echoed
    // as it was sent, so the request is refused without one.
    if (request && !id->is_string() && !id->is_number_integer()) {
      return serialised(errorReply(nullptr, -32600, "Invalid request"));
    }
    const auto method = UntrustedJson::stringMember(*message, "method");
    if (!method) {
      if (!request) return std::nullopt;
      return serialised(errorReply(*id, -32600, "Invalid request"));
    }
    // A notification asks for nothing back, whatever it says.
    if (!request) return std::nullopt;
    const json params = objectMember(*message, "params");

    json result;
    if (*method == "initialize") {
      const auto asked = UntrustedJson::stringMember(params, "protocolVersion");
      result = {{"protocolVersion", asked.value_or(protocolVersion)},
                {"capabilities", {{"tools", {{"listChanged", false}}}}},
                {"serverInfo", {{"name", name}, {"version", m_version}}},
                {"instructions", instructions}};
    } else if (*method == "ping") {
      result = json::object();
    } else if (*method == "tools/list") {
      result = {{"tools", toolList()}};
    } else if (*method == "tools/call") {
      result = toolResult(std::string(UntrustedJson::stringMember(params, "name").value_or("")),
                          objectMember(params, "arguments"));
    } else {
      return serialised(errorReply(*id, -32601, "Method not found: " + std::string(*method)));
    }
    return serialised({{"jsonrpc", "2.0"}, {"id", *id}, {"result", std::move(result)}});
  } catch (...) {
    // Only memory can run out here; without a reply the client times out.
    return std::nullopt;
  }
}

json MCPServer::toolResult(const std::string& tool, const json& arguments) const {
  std::string text;
  bool failed = true;
  try {
    text = call(tool, arguments);
    failed = false;
  } catch (const ToolFailure& failure) {
    text = failure.what();
  } catch (const std::exception& failure) {
    text = std::string("Brindlemoor could not answer: ") + failure.what();
  }
  return {{"content", json::array({{{"type", "text"}, {"text", std::move(text)}}})},
          {"isError", failed}};
}

std::string MCPServer::call(const std::string& tool, const json& arguments) const {
  if (tool == "search_brindlemoor") return search(arguments);
  if (tool == "recent_captures") return recentCaptures(arguments);
  if (tool == "get_capture") return capture(arguments);
  if (tool == "list_collections") return listCollections();
  throw ToolFailure("Unknown tool " + tool + ".");
}

std::string MCPServer::search(const json& arguments) const {
  const auto asked = UntrustedJson::stringMember(arguments, "query");
  const std::string query = asked ? Text::trimmed(Text::prefix(*asked, kMaxQuery)) : "";
  if (query.empty()) throw ToolFailure("'query' must be a non-empty string.");
  const auto limit = limitOf(arguments, "limit", 1, 25, 8);

  auto found = m_library.search(query);
  if (found.empty()) return "Nothing in Brindlemoor matches “" + query + "”.";
  if (std::cmp_greater(found.size(), limit)) found.resize(static_cast<std::size_t>(limit));
  const auto collections = readableCollections();
  std::vector<std::string> listings;
  for (const auto& capture : found) {
    listings.push_back(CaptureText::listing(capture, collections, m_locale, *m_timeZone));
  }
  return "Brindlemoor for “" + query + "” (" + std::to_string(found.size()) + "):\n\n" +
         Text::joined(listings, "\n\n");
}

std::string MCPServer::recentCaptures(const json& arguments) const {
  const auto limit = limitOf(arguments, "limit", 1, 50, 10);
  auto filter = LibraryFilter::recent();
  const auto wanted = nonEmptyString(arguments, "collection");
  // Finding the collection needs them; the listings do without.
  const auto collections = wanted ? m_store.collections() : readableCollections();
  if (wanted) {
    const auto match = std::find_if(collections.begin(), collections.end(), [&](const auto& c) {
      return c.id == *wanted || sameName(c.name, *wanted);
    });
    if (match == collections.end()) {
      throw ToolFailure("No collection named “" + *wanted + "”. list_collections shows them.");
    }
    filter = LibraryFilter::collection(match->id);
  } else if (const auto kindName = nonEmptyString(arguments, "kind")) {
    // Only the raw strings count: an agent reads them in the schema.
    const auto kind = CaptureKind::fromRaw(Text::lowercased(*kindName));
    if (!kind) throw ToolFailure("Unknown kind “" + *kindName + "”.");
    filter = LibraryFilter::kind(*kind);
  }

  const auto captures = m_store.captures(limit, filter);
  if (captures.empty()) return "Nothing kept there yet.";
  std::vector<std::string> listings;
  for (const auto& capture : captures) {
    listings.push_back(CaptureText::listing(capture, collections, m_locale, *m_timeZone));
  }
  return Text::joined(listings, "\n\n");
}

std::string MCPServer::capture(const json& arguments) const {
  const auto id = UntrustedJson::stringMember(arguments, "id");
  const auto found = id ? m_store.capture(*id) : std::nullopt;
  if (!found) throw ToolFailure("No capture with that id.");
  return CaptureText::full(*found, readableCollections(), m_locale, *m_timeZone);
}

std::string MCPServer::listCollections() const {
  std::vector<std::string> lines;
  for (const auto& collection : m_store.collections()) {
    if (collection.count < 1) continue;
    lines.push_back(collection.emoji + " " + collection.name + " — " +
                    std::to_string(collection.count) + " capture" +
                    (collection.count == 1 ? "" : "s") + " (id " + collection.id + ")");
  }
  if (lines.empty()) return "No collections yet: they form as similar captures are kept.";
  return Text::joined(lines, "\n");
}

std::vector<CaptureCollection> MCPServer::readableCollections() const {
  try {
    return m_store.collections();
  } catch (const Failure&) {
    return {};
  }
}

bool MCPServer::sameName(const std::string& a, const std::string& b) const {
  // Turkish and Azerbaijani fold the dotted and dotless i apart.
  const char* language = m_locale.getLanguage();
  const bool turkic = std::strcmp(language, "tr") == 0 || std::strcmp(language, "az") == 0;
  return icu::UnicodeString::fromUTF8(a).caseCompare(
             icu::UnicodeString::fromUTF8(b),
             turkic ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT) == 0;
}

}  // namespace brindlemoor
