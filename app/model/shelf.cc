#include "app/model/shelf.h"

namespace brindlemoor {

namespace {

template <class... Ts>
struct Visit : Ts... {
  using Ts::operator()...;
};

}  // namespace

LibraryFilter Shelf::filter() const {
  return std::visit(
      Visit{[](const Collection& c) { return LibraryFilter::collection(c.id); },
            [](const Kind& k) { return LibraryFilter::kind(k.kind); },
            [](const Source& s) { return LibraryFilter::source(s.name); },
            [](const Recent&) { return LibraryFilter::recent(); },
            [](const Favorites&) { return LibraryFilter::favorites(); },
            [](const Unsorted&) { return LibraryFilter::unsorted(); }},
      m_case);
}

std::string Shelf::title(const std::vector<CaptureCollection>& collections) const {
  return std::visit(Visit{[&](const Collection& c) -> std::string {
                            for (const CaptureCollection& each : collections) {
                              if (each.id == c.id) return each.name;
                            }
                            return "Collection";
                          },
                          [](const Kind& k) { return std::string(k.kind.title()); },
                          [](const Source& s) { return s.name; },
                          [](const Recent&) { return std::string("Home"); },
                          [](const Favorites&) { return std::string("Favorites"); },
                          [](const Unsorted&) { return std::string("Unsorted"); }},
                    m_case);
}

}  // namespace brindlemoor
