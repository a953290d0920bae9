// ftsQuery turns a user's words into an FTS5 expression: lower-cased, split
// at everything that isn't a Unicode letter, mark or number, stopwords
// dropped, each word a quoted prefix term, joined by blanks (AND). Since a
// term holds only letters, marks and digits inside its quotes, no input can
// break the expression. Gives the empty text when no word is left.
#pragma once

#include <string>
#include <string_view>

namespace brindlemoor::internal {

std::string ftsQuery(std::string_view words);

}  // namespace brindlemoor::internal
