#include "core/understanding/internal/ollama_reply.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/model/vector_math.h"
#include "core/understanding/untrusted_json.h"
#include "core/understanding/utf8.h"

namespace brindlemoor::internal::OllamaReply {

using nlohmann::json;
using Failure = OllamaClient::Failure;

namespace {

// A whole number of a pull line; anything else counts as 0.
std::int64_t wholeNumber(const json& line, const char* key) {
  const auto it = line.find(key);
  if (it == line.end()) return 0;
  // Unsigned first: nlohmann counts unsigned numbers as integers too.
  if (it->is_number_unsigned()) {
    return static_cast<std::int64_t>(std::min<std::uint64_t>(
        it->get<std::uint64_t>(), std::numeric_limits<std::int64_t>::max()));
  }
  if (it->is_number_integer()) return it->get<std::int64_t>();
  if (it->is_number_float()) {
    const double value = it->get<double>();
    const bool whole = std::isfinite(value) && value == std::trunc(value) && std::abs(value) < 9e18;
    return whole ? static_cast<std::int64_t>(value) : 0;
  }
  return 0;
}

}  // namespace

json object(std::string_view body, long status, bool tooLarge) {
  std::optional<json> object = tooLarge ? std::nullopt : UntrustedJson::parse(body);
  if (object && !object->is_object()) object.reset();
  if (status < 200 || status > 299) {
    const auto error = object ? UntrustedJson::stringMember(*object, "error") : std::nullopt;
    throw Failure::server(static_cast<int>(status),
                          error ? std::string(*error) : Utf8::repaired(body.substr(0, 200)));
  }
  if (tooLarge) throw Failure::badReply("reply larger than 64 MiB");
  if (!object) throw Failure::badReply("not a JSON object");
  return std::move(*object);
}

std::string version(const json& reply) {
  const auto version = UntrustedJson::stringMember(reply, "version");
  if (!version) throw Failure::badReply("no version");
  return std::string(*version);
}

std::vector<std::string> modelNames(const json& reply) {
  std::vector<std::string> names;
  const auto models = reply.find("models");
  if (models == reply.end() || !models->is_array()) return names;
  for (const json& model : *models) {
    if (!model.is_object()) continue;
    if (const auto name = UntrustedJson::stringMember(model, "name")) names.emplace_back(*name);
  }
  return names;
}

std::string response(const json& reply) {
  const auto response = UntrustedJson::stringMember(reply, "response");
  if (!response) throw Failure::badReply("no response text");
  return std::string(*response);
}

std::vector<std::vector<float>> embeddings(const json& reply, std::size_t count) {
  const Failure wrongCount = Failure::badReply("expected " + std::to_string(count) + " embeddings");
  const auto embeddings = reply.find("embeddings");
  if (embeddings == reply.end() || !embeddings->is_array() || embeddings->size() != count)
    throw wrongCount;
  std::vector<std::vector<float>> vectors;
  vectors.reserve(count);
  for (const json& embedding : *embeddings) {
    if (!embedding.is_array()) throw wrongCount;
    std::vector<float> vector;
    vector.reserve(embedding.size());
    for (const json& number : embedding) {
      if (!number.is_number()) throw wrongCount;
      vector.push_back(number.get<float>());
    }
    vector = VectorMath::unit(vector);
    // A value past a float's range turns infinite, then every element NaN:
    // such a vector would be kept and match nothing for good.
    if (!std::ranges::all_of(vector, [](float x) { return std::isfinite(x); })) {
      throw Failure::badReply("an embedding holds a value that is not a finite number");
    }
    vectors.push_back(std::move(vector));
  }
  return vectors;
}

std::optional<PullStep> pullStep(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  const std::optional<json> object = UntrustedJson::parse(line);
  if (!object || !object->is_object()) return std::nullopt;
  if (const auto error = UntrustedJson::stringMember(*object, "error")) {
    throw Failure::server(200, std::string(*error));
  }
  return PullStep{wholeNumber(*object, "completed"), wholeNumber(*object, "total"),
                  std::string(UntrustedJson::stringMember(*object, "status").value_or(""))};
}

}  // namespace brindlemoor::internal::OllamaReply
