#include "app/settings/autostart.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

class AutostartTest : public ::testing::Test {
 protected:
  AutostartTest() { ::setenv("XDG_CONFIG_HOME", m_config.path().c_str(), 1); }
  ~AutostartTest() override { ::unsetenv("XDG_CONFIG_HOME"); }
  testing::TempDir m_config;
};

TEST_F(AutostartTest, LaunchAtLoginIsAnEntryWrittenAndRemoved) {
  EXPECT_EQ(Autostart::entry(), m_config.path() / "autostart" / "brindlemoor.desktop");
  EXPECT_FALSE(Autostart::enabled());
  Autostart::set(true, "/opt/my apps/brindlemoor");
  ASSERT_TRUE(Autostart::enabled());
  std::stringstream text;
  text << std::ifstream(Autostart::entry()).rdbuf();
  EXPECT_NE(text.str().find("[Desktop Entry]\nType=Application\n"), std::string::npos);
  EXPECT_NE(text.str().find("Exec=\"/opt/my apps/brindlemoor\"\n"), std::string::npos);
  Autostart::set(false, "/opt/my apps/brindlemoor");
  EXPECT_FALSE(Autostart::enabled());
  Autostart::set(false, "/opt/my apps/brindlemoor");  // already off
}

TEST_F(AutostartTest, AFolderThatCantBeWrittenIsRefusedWithTheReason) {
  // A file where the folder should be.
  std::ofstream(m_config.path() / "autostart") << "";
  try {
    Autostart::set(true, "/usr/bin/brindlemoor");
    FAIL() << "no failure";
  } catch (const Autostart::Failure& failure) {
    EXPECT_FALSE(std::string(failure.what()).empty());
  }
  EXPECT_FALSE(Autostart::enabled());
}

}  // namespace
}  // namespace brindlemoor
