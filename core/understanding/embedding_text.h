// EmbeddingText writes the texts that the embedding model is given, in the
// model's own convention for search: a stored item as "title: ... | text: ..."
// and a query as "task: search result | query: ...". Pure functions; safe
// from any thread; none can fail.
#pragma once

#include <string>
#include <string_view>

#include "core/model/capture.h"

namespace brindlemoor::EmbeddingText {

// The text of the `look` space, embedded together with the picture: the app
// and display title as the title ("none" when both are empty), then as text
// the summary, the tags, the note and the first 1200 characters of the
// transcript and of the recognized text, each on its own line when not empty.
std::string document(const Capture& capture);

// The text of the `meaning` space: what the capture is about, written into
// the text part with the title slot always "none": the display title, its
// topics (the tags) and the user's note. Summary and read text stay out.
std::string meaning(const Capture& capture);

// A search query, as the embedding model expects one.
std::string query(std::string_view text);

}  // namespace brindlemoor::EmbeddingText
