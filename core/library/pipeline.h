// Pipeline carries one capture through its stages: its text is read, the
// vision model describes it, it is embedded in the spaces `look` and
// `meaning`, and Filing files it. Each stage calls a neighbour, records what
// it got and moves the stage on in the same write, so the row alone says how
// far a capture has come. A failed stage keeps its stage and gets the words
// of the failure and a retry time.
//
// Thread rules: advance() runs on one thread at a time (the work loop's).
#pragma once

#include <functional>
#include <string>

#include "core/library/filing.h"
#include "core/library/library_files.h"
#include "core/library/media_work.h"
#include "core/model/bytes.h"
#include "core/model/capture.h"
#include "core/store/library_store.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class Pipeline {
 public:
  using VisionModel = std::function<std::string()>;
  using Changed = std::function<void()>;

  // Everything given must outlive the pipeline. `changed` is called after a
  // description, after the filing and after a failure.
  Pipeline(LibraryStore& store, const OllamaClient& client, std::string embeddingModel,
           const LibraryFiles& files, const MediaWork& media, Filing& filing,
           VisionModel visionModel, Changed changed);

  // Carries `capture` as far as it can go now. Never throws: a failure is
  // recorded on the capture with a retry time.
  void advance(const Capture& capture);
  // The end of a pass over the captures: names the collections whose
  // naming a failure or a kill cut short. Skipped when a model call failed
  // in this pass, since the daemon is then in trouble; never throws.
  void finish();

 private:
  void read(Capture& current);
  void describe(Capture& current);
  void embed(Capture& current);
  Bytes scaledPictureOf(const Capture& capture);

  LibraryStore& m_store;
  const OllamaClient& m_client;
  const std::string m_embeddingModel;
  const LibraryFiles& m_files;
  const MediaWork& m_media;
  Filing& m_filing;
  const VisionModel m_visionModel;
  const Changed m_changed;
  bool m_modelFailed = false;  // in this pass
};

}  // namespace brindlemoor
