#include "core/store/database.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "tests/testing/failure_of.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using Value = Database::Value;
using testing::failureOf;

class DatabaseTest : public ::testing::Test {
 protected:
  std::int64_t count() { return *m_db.query("SELECT count(*) AS n FROM t")[0]["n"].intValue(); }

  testing::TempDir m_dir;
  Database m_db{m_dir.path() / "a.sqlite"};
};

TEST_F(DatabaseTest, OpensInWalModeWithForeignKeysKeepsVersionAndCellTypesAndNamesFailures) {
  EXPECT_EQ(*m_db.query("PRAGMA journal_mode")[0]["journal_mode"].textValue(), "wal");
  EXPECT_EQ(m_db.query("PRAGMA foreign_keys")[0]["foreign_keys"].intValue(), 1);
  m_db.setUserVersion(7);
  EXPECT_EQ(Database(m_dir.path() / "a.sqlite").userVersion(), 7);

  std::ofstream(m_dir.path() / "junk.sqlite") << std::string(8192, 'j');
  EXPECT_THROW(Database(m_dir.path() / "junk.sqlite"), Database::Failure);
  const std::string sql = "SELECT * FROM missing WHERE " + std::string(200, 'x');
  EXPECT_EQ(std::string(failureOf<Database::Failure>([&] { m_db.query(sql); }).what()),
            "SQLite: no such table: missing — " + sql.substr(0, 120));

  // Cells keep their storage class.
  m_db.execute("CREATE TABLE t (a, b, c, d, e)");
  EXPECT_EQ(m_db.run("INSERT INTO t VALUES (?, ?, ?, ?, ?)",
                     {Value(std::int64_t{1} << 40), 2.5, std::string("before\0after", 12),
                      Value(Bytes{}), Value()}),
            1);
  auto row = m_db.query("SELECT * FROM t")[0];
  EXPECT_EQ(row["a"].intValue(), std::int64_t{1} << 40);
  EXPECT_FALSE(row["b"].intValue()) << "a double is never read as an integer";
  EXPECT_EQ(*row["c"].textValue(), "before") << "text ends at its first NUL";
  ASSERT_NE(row["d"].blobValue(), nullptr) << "an empty blob is a blob, not null";
  EXPECT_TRUE(row["e"].isNull());
}

TEST_F(DatabaseTest, TransactionCommitsOrLeavesEverythingAsItWas) {
  m_db.execute("CREATE TABLE t (a INTEGER NOT NULL)");
  m_db.transaction([&] { m_db.run("INSERT INTO t VALUES (1)"); });
  EXPECT_THROW(m_db.transaction([&] {
    m_db.run("INSERT INTO t VALUES (3)");
    throw std::runtime_error("the body gave up");
  }),
               std::runtime_error);
  EXPECT_EQ(count(), 1);
  m_db.transaction([&] { m_db.run("INSERT INTO t VALUES (4)"); });  // no transaction was left open
}

// A failing transaction takes nothing of another thread's with it; none starts inside another.
TEST_F(DatabaseTest, ThreadsSharingTheConnectionKeepTheirTransactionsApart) {
  m_db.execute("CREATE TABLE t (a INTEGER NOT NULL)");
  auto writer = [&](bool failing) {
    for (int i = 0; i < 1000; ++i) {
      try {
        m_db.transaction([&] {
          m_db.run("INSERT INTO t VALUES (1)");
          std::this_thread::yield();
          if (failing) throw std::runtime_error("gave up");
          m_db.run("INSERT INTO t VALUES (1)");
        });
      } catch (const std::runtime_error&) {
      }
    }
  };
  std::thread failing(writer, true);
  EXPECT_NO_THROW(writer(false));
  failing.join();
  EXPECT_EQ(count(), 2000);
}

}  // namespace
}  // namespace brindlemoor
