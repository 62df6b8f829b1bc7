// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/Cards.h"
#include "support/Emulator.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

/// An object that an application keeps to its very end.
class Application {
public:
    ~Application() {
        if (!mAccessor.readRecord(1U)) std::_Exit(1);
    }
    SqliteDbAccessor& accessor() { return mAccessor; }

private:
    test::TemporaryFolder mFolder;
    SqliteDbAccessor mAccessor{mFolder.file("list.db")};
};

// Whatever the first lookup leaves behind must outlive objects that are older. Runs in a process of its own, in which
// there was no lookup before.
TEST(SqliteAtExitDeathTest, LooksUpByIdInTheDestructorOfAnOlderStaticObject) {
    if (test::isEmulated()) GTEST_SKIP() << "starts itself once more, which an emulated program cannot";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static Application application;
            application.accessor().createRecord(test::cardWithKey("A"));
            std::exit(application.accessor().readRecord(1U) ? 0 : 2);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
