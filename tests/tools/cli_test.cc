// brindlemoor-cli as a separate process on a temporary home, against the imitation daemon.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "core/store/library_store.h"
#include "tests/testing/child_process.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/media_files.h"
#include "tests/testing/pictures.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using nlohmann::json;
constexpr const char* kVision = "vision:test";

class Cli : public ::testing::Test {
 protected:
  Cli() {
    m_daemon.setModels({kVision, "embeddinggemma-2:440m"});
    m_daemon.setReply([](const json& request) -> std::string {
      if (request.value("prompt", "").find("Name the collection") != std::string::npos) {
        return R"({"name": "Tart Evenings", "emoji": "🥧"})";
      }
      return R"({"title": "Lemon tart", "summary": "A tart.", "kind": "recipe", "tags": []})";
    });
    std::filesystem::create_directories(m_home.path() / "config" / "Brindlemoor");
    std::ofstream(m_home.path() / "config" / "Brindlemoor" / "Brindlemoor.conf")
        << "[General]\nvisionModel=" << kVision << "\n";
  }

  std::map<std::string, std::string> environment(const std::string& host) const {
    return {{"HOME", m_home.path().string()},
            {"XDG_DATA_HOME", (m_home.path() / "data").string()},
            {"XDG_CONFIG_HOME", (m_home.path() / "config").string()},
            {"OLLAMA_HOST", host}};
  }
  int run(const std::vector<std::string>& args, std::string* out = nullptr,
          std::string* err = nullptr) {
    testing::ChildProcess child(BRINDLEMOOR_CLI, args, environment(m_daemon.host()));
    const int code = child.wait();
    if (out) *out = child.out();
    if (err) *err = child.err();
    return code;
  }
  // What a terminal that script(1) gives shows of `arguments`' run.
  std::string onTerminal(const std::string& arguments, int code = 0) {
    testing::ChildProcess child(
        "/usr/bin/script", {"-qec", std::string(BRINDLEMOOR_CLI) + " " + arguments, "/dev/null"},
        environment(m_daemon.host()));
    EXPECT_EQ(child.wait(), code) << child.out();
    return child.out();
  }
  std::filesystem::path file(const std::string& name, const Bytes& bytes) const {
    const auto path = m_home.path() / name;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return path;
  }
  LibraryStore store() const { return LibraryStore(m_home.path() / "data" / "Brindlemoor"); }

  testing::TempDir m_home;
  testing::ImitationOllama m_daemon;
};

TEST_F(Cli, AnImportedPhotoAndSpokenVideoEndOrganizedInANamedCollectionAndStatusTellsAll) {
  const auto photo = file("Lemon Tart.PNG", testing::textPicture("Lemon tart with cream"));
  const auto video = m_home.path() / "tart.mp4";
  testing::TestVideo spoken;
  spoken.width = 64;
  spoken.height = 48;
  spoken.sound = testing::speech("please show me the library", m_home.path());
  spoken.seconds = static_cast<double>(spoken.sound->samples.size()) / spoken.sound->sampleRate;
  testing::writeTestVideo(video, spoken);

  std::string out;
  ASSERT_EQ(run({"import", photo.string(), video.string()}, &out), 0) << out;
  const auto videos = store().captures(10, LibraryFilter::media(CaptureMedia::video));
  ASSERT_EQ(videos.size(), 1u);
  EXPECT_NE(videos[0].transcript.value_or("").find("library"), std::string::npos);

  ASSERT_EQ(run({"search", "--json", "cream"}, &out), 0) << out;
  const json hit = json::parse(out)["hits"][0];
  EXPECT_EQ(hit["title"], "Lemon tart");
  EXPECT_NE(hit["reasons"].dump().find("\"words\""), std::string::npos) << hit;
  ASSERT_EQ(run({"show", videos[0].id}, &out), 0);
  EXPECT_NE(out.find("Said in it:\n"), std::string::npos) << out;
  ASSERT_EQ(run({"collections"}, &out), 0);
  EXPECT_NE(out.find("🥧 Tart Evenings — 2 captures"), std::string::npos) << out;

  m_daemon.setModels({kVision});
  ASSERT_EQ(run({"status", "--json"}, &out), 0);
  json status = json::parse(out);
  EXPECT_EQ(status["stages"]["organized"], 2);
  EXPECT_EQ(status["media"]["photo"], 1);
  EXPECT_EQ(status["media"]["video"], 1);
  EXPECT_TRUE(status["ollama"]["running"].get<bool>());
  EXPECT_EQ(status["models"]["missing"], json::array({"embeddinggemma-2:440m"}));
  testing::ClosedPort closed;
  testing::ChildProcess down(BRINDLEMOOR_CLI, {"status", "--json"}, environment(closed.host()));
  ASSERT_EQ(down.wait(), 0);
  status = json::parse(down.out());
  EXPECT_FALSE(status["ollama"]["running"].get<bool>());
  EXPECT_EQ(status["captures"], 2);
}

TEST_F(Cli, FilesThatCannotBeReadAreNamedAndNothingOfThemIsKept) {
  const auto empty = file("empty.jpg", {});
  const auto text = file("notes.jpg", Bytes{'h', 'e', 'l', 'l', 'o'});
  const auto good = file("good.png", testing::textPicture("Fine"));
  std::string err;
  EXPECT_EQ(run({"import", empty.string(), text.string(), good.string()}, nullptr, &err), 1);
  EXPECT_NE(err.find("Couldn't read empty.jpg, notes.jpg."), std::string::npos) << err;
  EXPECT_EQ(store().count(), 1);
  EXPECT_EQ(run({"import", (m_home.path() / "readme.txt").string()}), 1) << "nothing imported";
  // After "--" a name is a file's even when it looks like an option.
  EXPECT_EQ(run({"import", "--", "--nowhere.png"}, nullptr, &err), 1);
  EXPECT_NE(err.find("Couldn't read --nowhere.png: there is no such file."), std::string::npos)
      << err;
}

// The library sits on a tiny tmpfs, filled to its last pages, in a mount namespace of its own.
TEST_F(Cli, OnAFullDiskImportSaysSoAndLeavesNothingHalfWritten) {
  if (testing::ChildProcess("/usr/bin/unshare", {"-m", "true"}, {}).wait() != 0) {
    GTEST_SKIP() << "unshare -m can't make a mount namespace here";
  }
  // Large enough that libvips's generated vector code reduces it.
  const auto photo = file("large.png", testing::encoded(testing::halves(3000, 2000), ".png"));
  const auto full = m_home.path() / "full";
  std::filesystem::create_directory(full);
  const std::string script = R"(
    mount -t tmpfs -o size=4M tmpfs "$HOME" && "$0" status >/dev/null || exit 99
    dd if=/dev/zero of="$HOME/fill" bs=4k 2>/dev/null; truncate -s -32K "$HOME/fill"
    "$0" import "$1"; echo "exit $?"
    find "$XDG_DATA_HOME/Brindlemoor/captures" "$XDG_DATA_HOME/Brindlemoor/thumbs" \
      "$XDG_DATA_HOME/Brindlemoor/media" -type f | wc -l; rm "$HOME/fill"
    "$0" status --json | grep '"captures"')";
  auto environment = this->environment(m_daemon.host());
  environment["HOME"] = full.string();
  environment["XDG_DATA_HOME"] = (full / "data").string();
  environment["XDG_RUNTIME_DIR"] = "";
  testing::ChildProcess child("/usr/bin/unshare",
                              {"-m", "/bin/sh", "-c", script, BRINDLEMOOR_CLI, photo.string()},
                              environment);
  ASSERT_EQ(child.wait(), 0) << child.err();
  EXPECT_NE(child.err().find("No space left on device"), std::string::npos) << child.err();
  EXPECT_NE(child.out().find("exit 1\n0\n"), std::string::npos) << child.out();
  EXPECT_NE(child.out().find("\"captures\": 0"), std::string::npos) << child.out();
}

TEST_F(Cli, AKilledWorkLosesNothingAndResumesWhereItStopped) {
  std::vector<std::string> args{"import"};
  for (int n = 0; n < 6; ++n) {
    const std::string name = "photo" + std::to_string(n);
    args.push_back(file(name + ".png", testing::textPicture(name)).string());
  }
  // Slow answers keep the pipeline busy long enough to be cut down midway.
  m_daemon.setDelay(std::chrono::milliseconds(150));
  {
    testing::ChildProcess child(BRINDLEMOOR_CLI, args, environment(m_daemon.host()));
    while (m_daemon.requestCount("/api/embed") < 2)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    child.kill();
    EXPECT_EQ(child.wait(), 128 + SIGKILL);
  }
  EXPECT_EQ(store().count(), 6) << "every kept photo is still there";
  EXPECT_LT(store().stageCounts()[CaptureStage::organized], 6);
  m_daemon.setDelay(std::chrono::milliseconds(0));
  ASSERT_EQ(run({"work"}), 0);
  EXPECT_EQ(store().stageCounts()[CaptureStage::organized], 6);
}

TEST_F(Cli, ShowTakesAUniqueStartOfAnIdInEitherCase) {
  const std::string first = "abcd1234-0000-4000-8000-000000000001";
  for (const std::string& id : {first, std::string("abcd5678-0000-4000-8000-000000000002")}) {
    Capture capture = testing::sampleCapture(id.back() - '0', 10);
    capture.id = id;
    store().insert(capture);
  }
  std::string out, err;
  ASSERT_EQ(run({"show", "--json", "ABCD12"}, &out, &err), 0) << err;
  EXPECT_EQ(json::parse(out)["id"], first);
  EXPECT_EQ(run({"show", "abcd"}, &out, &err), 1);
  EXPECT_NE(err.find("“abcd” begins the ids of 2 captures"), std::string::npos) << err;
  EXPECT_NE(err.find("  abcd5678  Window 2\n"), std::string::npos) << err;
  EXPECT_EQ(run({"show", "abc"}, &out, &err), 2);
  EXPECT_NE(err.find("at least 4"), std::string::npos) << err;
  EXPECT_EQ(run({"show", "abce"}, &out, &err), 1);
  EXPECT_EQ(err, "No capture with that id.\n");
}

// Titles come from a model and names from files: a terminal shows their escapes, never obeys them.
TEST_F(Cli, OnATerminalImportRedrawsOneLineAndUntrustedTextIsShownNotObeyed) {
  if (!std::filesystem::exists("/usr/bin/script")) GTEST_SKIP() << "script(1) gives the terminal";
  std::string command = "import";
  for (const char* name : {"one.png", "two.png"}) {
    command += " '" + file(name, testing::textPicture(name)).string() + "'";
  }
  const std::string out = onTerminal(command);
  EXPECT_NE(out.find("\rImporting 0 of 2  "), std::string::npos) << out;
  EXPECT_NE(out.find("\rWorking "), std::string::npos) << out;
  EXPECT_TRUE(out.ends_with("\r\x1b[KOrganized 2 of 2.\r\n")) << out;
  EXPECT_EQ(out.find('\n'), out.size() - 1) << "no line but the summary's ends: " << out;

  const std::string id = testing::sampleID(1);
  store().insert(testing::sampleCapture(1, 10));
  store().setDescribed(id, {"Tart\x1b]0;owned\x07 \xc2\x9b"
                            "2J\x7f",
                            "",
                            CaptureKind::recipe,
                            {},
                            {},
                            {}});
  const std::string shown = onTerminal("show " + id);
  EXPECT_NE(shown.find("Tart␛]0;owned␇ �2J␡"), std::string::npos) << shown;
  EXPECT_EQ(shown.find('\x1b'), std::string::npos) << shown;
  const std::string exact = onTerminal("show --json " + id);
  EXPECT_NE(exact.find("Tart\\u001b]0;owned\\u0007 \xc2\x9b"
                       "2J\x7f"),
            std::string::npos)
      << exact;
  const std::string missing =
      onTerminal("import '" + (m_home.path() / "red\x1b[31m.png").string() + "'", 1);
  EXPECT_NE(missing.find("Couldn't read red␛[31m.png: there is no such file."), std::string::npos)
      << missing;
}

}  // namespace
}  // namespace brindlemoor
