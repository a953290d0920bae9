// CollectionNamer asks the vision model, in plain text and without images,
// for the name and emoji of a collection, from the titles, summaries and tags
// of its newest captures. The model's reply cannot fail the naming: what it
// does not give usably is replaced by "Untitled collection" and "📁".
//
// A CollectionNamer is a plain value: name() blocks for the length of one
// model call and may run on any thread. The static functions are pure and
// safe from any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/model/capture.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class CollectionNamer {
 public:
  // What a collection is called.
  struct Naming {
    std::string name;
    std::string emoji;
    bool operator==(const Naming&) const = default;
  };

  // Names with `model` through `client`.
  CollectionNamer(OllamaClient client, std::string model);

  const OllamaClient& client() const { return m_client; }
  const std::string& model() const { return m_model; }

  // Asks the model to name the collection of `captures` (the newest first)
  // and reads its answer with parse().
  // Throws OllamaClient::Failure from the model call, among them
  // badReply("no response text") when the reply has no text.
  Naming name(const std::vector<Capture>& captures) const;

  // The prompt for `captures`: one line for each of the first 12, with its
  // title (its title, else its window title, else its app), its summary and
  // its tags, followed by the request for a JSON object.
  static std::string prompt(const std::vector<Capture>& captures);

  // The naming in a model's reply. The name is the reply's "name" string
  // cleaned as ModelReply::clean() does, at most 40 characters, or "Untitled
  // collection". The emoji is the first user-perceived character of the
  // "emoji" string that shows as an emoji (a code point with the property
  // Emoji_Presentation, a U+FE0F variation selector, or a pair of regional
  // indicators), whole with its modifiers and joiners, or "📁".
  static Naming parse(std::string_view reply);

 private:
  OllamaClient m_client;
  std::string m_model;
};

}  // namespace brindlemoor
