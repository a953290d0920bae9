#include "app/keeping/keeper.h"

#include <unistd.h>
#include <vips/vips8>

#include <QFileInfo>
#include <future>
#include <QPointer>

#include "app/feedback/capture_feedback.h"
#include "app/model/app_model.h"
#include "app/platform/x11/page_pointer.h"
#include "app/platform/x11/video_recorder.h"
#include "app/platform/x11/x_connection.h"
#include "core/media/media_importer.h"
#include "core/media/page_photo.h"
#include "core/media/thumbnailer.h"
#include "core/capture/image_sources.h"
#include "core/model/identifier.h"

namespace brindlemoor {

namespace {

QRect screenRect(const Rect& rect) {
  return QRect(static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.width),
               static_cast<int>(rect.height));
}

vips::VImage vipsPicture(const WindowCapturer::Picture& picture) {
  VipsImage* copied =
      vips_image_new_from_memory_copy(picture.rgb.data(), picture.rgb.size(), picture.width,
                                      picture.height, 3, VIPS_FORMAT_UCHAR);
  if (copied == nullptr) throw vips::VError();
  return vips::VImage(copied);
}

WindowCapturer::Failure captureFailed(const std::string& words) {
  return WindowCapturer::Failure(WindowCapturer::Failure::Kind::captureFailed, words);
}

// The page's own address and names stay with what was kept from it, not
// those of the temporary file.
void takeOrigin(Capture& capture, const Capture& from) {
  capture.app = from.app;
  capture.bundleID = from.bundleID;
  capture.url = from.url;
  capture.windowTitle = from.windowTitle;
}

}  // namespace

Keeper::Keeper(AppModel& model, CaptureFeedback& feedback, std::function<bool()> libraryInFront,
               std::function<void()> showSetup, QObject* parent)
    : QObject(parent),
      m_model(model),
      m_feedback(feedback),
      m_libraryInFront(std::move(libraryInFront)),
      m_showSetup(std::move(showSetup)) {
  m_recordingLimit.setSingleShot(true);
  m_recordingLimit.setInterval(kRecordingLimitMilliseconds);
  connect(&m_recordingLimit, &QTimer::timeout, this, &Keeper::finishRecording);
}

Keeper::~Keeper() = default;

void Keeper::captureNow() {
  if (m_recording) {
    finishRecording();
    return;
  }
  if (m_libraryInFront()) {
    m_feedback.showSelf();
    return;
  }
  m_desktop.post([this] { keepFromScreen(); });
}

void Keeper::keepFromScreen() {
  try {
    if (!m_capturer) {
      m_capturer = std::make_unique<WindowCapturer>();
      m_x = std::make_unique<XConnection>();
    }
    const WindowCapturer::Target target = m_capturer->focusedTarget(getpid());
    const PageTarget page = PagePointer::target(*m_x);
    switch (page.kind()) {
      case PageTarget::Kind::image:
        keepPagePhoto(target, page);
        break;
      case PageTarget::Kind::video:
        startRecording(target, page);
        break;
      case PageTarget::Kind::window:
        keepWindow(target);
        break;
    }
  } catch (const WindowCapturer::Failure& failure) {
    switch (failure.kind()) {
      case WindowCapturer::Failure::Kind::noPermission:
        problem(QStringLiteral("Brindlemoor needs Screen Recording to keep a window."), true);
        break;
      case WindowCapturer::Failure::Kind::noWindow:
        problem(QStringLiteral("No window to keep here."));
        break;
      case WindowCapturer::Failure::Kind::captureFailed:
        problem(QStringLiteral("Couldn't keep this window: ") + QString::fromUtf8(failure.what()));
        break;
    }
  } catch (const std::exception& failure) {
    problem(QStringLiteral("Couldn't keep this window: ") + QString::fromUtf8(failure.what()));
  }
}

void Keeper::keepWindow(const WindowCapturer::Target& target) {
  const WindowCapturer::Picture picture = m_capturer->shoot(target);
  const vips::VImage image = vipsPicture(picture);
  // Both at once: the user waits for them.
  std::future<std::optional<Bytes>> thumbnail =
      std::async(std::launch::async, [&image] { return Thumbnailer::thumbnail(image); });
  const std::optional<Bytes> png = Thumbnailer::png(image);
  const std::optional<Bytes> small = thumbnail.get();
  if (!png || !small) throw captureFailed("the picture can't be encoded");
  Capture capture = target.capture;
  capture.width = picture.width;
  capture.height = picture.height;
  m_model.library().keep(capture, *png, *small);
  const QRect frame = screenRect(target.entry.bounds());
  QMetaObject::invokeMethod(
      this,
      [this, capture, frame] {
        keptFromScreen(capture, QStringLiteral("Kept · the window"), frame);
      },
      Qt::QueuedConnection);
}

void Keeper::keepPagePhoto(const WindowCapturer::Target& target, const PageTarget& page) {
  const WindowCapturer::Picture picture = m_capturer->shoot(target);
  std::optional<vips::VImage> crop;
  if (const auto region = PagePhoto::cropRegion(page.frame(), target.entry.bounds(), target.scale,
                                                picture.width, picture.height)) {
    crop = vipsPicture(picture).crop(region->x, region->y, region->width, region->height);
  }
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("bm-page-" + newIdentifier());
  std::filesystem::create_directories(folder);
  std::vector<std::string> candidates;
  if (page.source()) candidates = ImageSources::candidates(*page.source());
  const std::optional<std::filesystem::path> file =
      PagePhoto::file(folder, candidates, crop, !target.capture.windowTitle.empty());
  if (!file) throw captureFailed("the image gave no picture");
  ImportedCapture imported = MediaImporter::load(*file, now());
  takeOrigin(imported.capture, target.capture);
  m_model.library().keepImported(imported, *file);
  const QRect frame = screenRect(page.frame());
  QMetaObject::invokeMethod(
      this,
      [this, capture = imported.capture, frame] {
        keptFromScreen(capture, QStringLiteral("Kept · the photo"), frame);
      },
      Qt::QueuedConnection);
}

void Keeper::startRecording(const WindowCapturer::Target& target, const PageTarget& page) {
  const Rect window = target.entry.bounds();
  const Rect frame = page.frame();
  // The area in the window's points; VideoRecorder cuts it to the window,
  // and takes the whole window when nothing of it is inside.
  const Rect area{frame.x - window.x, frame.y - window.y, frame.width, frame.height};
  auto recorder = std::make_unique<VideoRecorder>();
  recorder->start(target, area, target.scale);
  VideoRecorder* running = recorder.get();
  m_recorder = std::move(recorder);
  const QRect shown = screenRect(frame);
  QMetaObject::invokeMethod(
      this,
      [this, target, running, shown] {
        m_recording = true;
        m_recordingTarget = target;
        m_feedback.showRecording([running] { return running->level(); }, shown);
        m_recordingLimit.start();
      },
      Qt::QueuedConnection);
}

void Keeper::finishRecording() {
  m_recordingLimit.stop();
  if (!m_recording || !m_recordingTarget) return;
  m_recording = false;
  const WindowCapturer::Target target = *m_recordingTarget;
  m_recordingTarget.reset();
  m_desktop.post([this, target] { stopRecording(target); });
}

void Keeper::stopRecording(const WindowCapturer::Target& target) {
  std::unique_ptr<VideoRecorder> recorder = std::move(m_recorder);
  if (!recorder) return;
  const std::optional<std::filesystem::path> file = recorder->stop();
  recorder.reset();
  if (!file) {
    problem(QStringLiteral("Nothing was recorded: is the video playing?"));
    return;
  }
  try {
    ImportedCapture imported = MediaImporter::load(*file, now());
    takeOrigin(imported.capture, target.capture);
    m_model.library().keepImported(imported, *file);
    std::error_code ignored;
    std::filesystem::remove(*file, ignored);
    QMetaObject::invokeMethod(
        this,
        [this, capture = imported.capture] {
          keptFromScreen(capture, QStringLiteral("Kept · the video"), std::nullopt);
        },
        Qt::QueuedConnection);
  } catch (const std::exception& failure) {
    problem(QStringLiteral("Couldn't keep the recording: ") + QString::fromUtf8(failure.what()));
  }
}

void Keeper::keptFromScreen(const Capture& capture, const QString& heading,
                            const std::optional<QRect>& frame) {
  m_model.setLastKept(capture);
  m_feedback.showKept(capture, heading, frame);
  Q_EMIT kept();
}

void Keeper::problem(const QString& message, bool openSetup) {
  QMetaObject::invokeMethod(
      this,
      [this, message, openSetup] {
        if (openSetup) {
          m_feedback.showProblem(message, QStringLiteral("Open Setup"), m_showSetup);
        } else {
          m_feedback.showProblem(message);
        }
      },
      Qt::QueuedConnection);
}

void Keeper::importFiles(const QStringList& paths) {
  std::vector<std::filesystem::path> media;
  for (const QString& path : paths) {
    std::filesystem::path file = path.toStdString();
    if (MediaImporter::kind(file)) media.push_back(std::move(file));
  }
  if (media.empty()) {
    m_feedback.showProblem(QStringLiteral("Brindlemoor takes photos and videos."));
    return;
  }
  m_model.addImporting(static_cast<int>(media.size()));
  m_imports.post([this, media] {
    int keptCount = 0;
    QStringList failed;
    for (const std::filesystem::path& file : media) {
      try {
        m_model.library().keepImported(MediaImporter::load(file, now()), file);
        ++keptCount;
      } catch (const std::exception&) {
        failed.append(QString::fromStdString(file.filename().string()));
      }
      QMetaObject::invokeMethod(this, [this] { m_model.addImporting(-1); }, Qt::QueuedConnection);
    }
    QMetaObject::invokeMethod(
        this,
        [this, keptCount, failed] {
          if (!failed.isEmpty()) {
            m_feedback.showProblem(QStringLiteral("Couldn't read ") + failed.join(", ") + ".");
          } else if (keptCount > 0) {
            m_model.setShelf(Shelf(Shelf::Recent{}));
          }
        },
        Qt::QueuedConnection);
  });
}

}  // namespace brindlemoor
