#include "tools/cli/visible_output.h"

#include <unistd.h>

#include <iostream>

namespace brindlemoor::cli {
namespace {

// The first byte of the UTF-8 form of U+0080 to U+00BF; C1 controls are
// those whose second byte is below 0xA0.
constexpr unsigned char kC1Lead = 0xC2;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Appends byte `c`, seen after `pendingLead` (a kC1Lead not yet written),
// to `out` as visible() shows it.
void appendVisible(std::string& out, unsigned char c, bool& pendingLead) {
  if (pendingLead) {
    pendingLead = false;
    if (c >= 0x80 && c < 0xA0) {
      out += kReplacement;
      return;
    }
    out += static_cast<char>(kC1Lead);
  }
  if (c == kC1Lead) {
    pendingLead = true;
  } else if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7F) {
    // U+2400 + c, or U+2421 for DEL: E2 90 80+c.
    out += "\xE2\x90";
    out += static_cast<char>(0x80 + (c == 0x7F ? 0x21 : c));
  } else {
    out += static_cast<char>(c);
  }
}

}  // namespace

std::string visible(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  bool pendingLead = false;
  for (const char c : text) appendVisible(out, static_cast<unsigned char>(c), pendingLead);
  if (pendingLead) out += static_cast<char>(kC1Lead);
  return out;
}

// A stream buffer that writes what it is given to another as visible()
// shows it. A C1 lead byte at the end of one write waits for the next.
class VisibleOutput::Filter : public std::streambuf {
 public:
  explicit Filter(std::ostream& stream) : m_stream(stream), m_target(stream.rdbuf(this)) {}
  ~Filter() override {
    if (m_pendingLead) m_target->sputc(static_cast<char>(kC1Lead));
    m_target->pubsync();
    m_stream.rdbuf(m_target);
  }

 protected:
  std::streamsize xsputn(const char* data, std::streamsize count) override {
    std::string out;
    out.reserve(static_cast<std::size_t>(count));
    for (std::streamsize i = 0; i < count; ++i) {
      appendVisible(out, static_cast<unsigned char>(data[i]), m_pendingLead);
    }
    const auto size = static_cast<std::streamsize>(out.size());
    return m_target->sputn(out.data(), size) == size ? count : 0;
  }
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char byte = traits_type::to_char_type(c);
    return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
  }
  int sync() override { return m_target->pubsync(); }

 private:
  std::ostream& m_stream;
  std::streambuf* m_target;
  bool m_pendingLead = false;
};

VisibleOutput::VisibleOutput(bool output) {
  if (output && ::isatty(STDOUT_FILENO)) m_out = std::make_unique<Filter>(std::cout);
  if (::isatty(STDERR_FILENO)) m_err = std::make_unique<Filter>(std::cerr);
}

VisibleOutput::~VisibleOutput() = default;

}  // namespace brindlemoor::cli
