#include "app/qt/Texts.h"

#include <gtest/gtest.h>

namespace tidemark::qt {
namespace {

TEST(Texts, passBetweenEncodingsUnharmed)
{
    const std::string name = "gr\u00fc\u00df\u65e5\U0001f30a";
    EXPECT_EQ(toUtf8(fromUtf8(name)), name);
    EXPECT_EQ(fromUtf8(name).size(), 7) << "five characters, one of them a pair";
}

TEST(Texts, areFilled)
{
    EXPECT_TRUE(
        text("TidemarkResource", "PROCESSING_SYNC", {{"name", "caf\u00e9"}}).contains(QString::fromUtf8("caf\u00e9")));
}

} // namespace
} // namespace tidemark::qt
