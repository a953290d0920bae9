// A daemon's reply body, whatever its bytes, read as each call's answer and
// as a line of a pull. Only the client's Failure may come out.
#include "core/understanding/internal/ollama_reply.h"

#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindlemoor;
  namespace Reply = internal::OllamaReply;
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  try {
    const nlohmann::json reply = Reply::object(body, size % 7 == 0 ? 500 : 200, false);
    (void)Reply::modelNames(reply);
    try {
      (void)Reply::version(reply);
    } catch (const OllamaClient::Failure&) {
    }
    try {
      (void)Reply::response(reply);
    } catch (const OllamaClient::Failure&) {
    }
    (void)Reply::embeddings(reply, size % 3);
  } catch (const OllamaClient::Failure&) {
  }
  try {
    (void)Reply::pullStep(body);
  } catch (const OllamaClient::Failure&) {
  }
  return 0;
}
