// Facts about the messages for the spooler: the original texts stay as
// they are, every other message gets a line of its own.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "SpoolerMessages.h"

namespace {

// Collects what the messages write, in memory.
class SpoolerMessagesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_stream = open_memstream(&m_data, &m_size);
        SetSpoolerStream(m_stream);
    }
    void TearDown() override
    {
        SetSpoolerStream(nullptr);
        fclose(m_stream);
        free(m_data);
    }
    std::string Written()
    {
        fflush(m_stream);
        return std::string(m_data, m_size);
    }

    FILE* m_stream = nullptr;
    char* m_data = nullptr;
    size_t m_size = 0;
};

}  // namespace

TEST_F(SpoolerMessagesTest, KeptTextsHaveNoLineBreak)
{
    PutKeptText("Finish print operation.");
    PutKeptText("Finish print operation.");
    EXPECT_EQ(Written(), "Finish print operation.Finish print operation.");
}

TEST_F(SpoolerMessagesTest, ErrorAtTheStartIsOneLine)
{
    PutSpoolerMessage(SpoolerLevel::kError, "Page %d not printed: %s", 3, "too large");
    EXPECT_EQ(Written(), "ERROR: Page 3 not printed: too large\n");
}

TEST_F(SpoolerMessagesTest, WarningAfterAKeptTextStartsANewLine)
{
    PutKeptText("Finish print operation.");
    PutSpoolerMessage(SpoolerLevel::kWarning, "Page 2 differs");
    EXPECT_EQ(Written(), "Finish print operation.\nWARNING: Page 2 differs\n");
}

TEST_F(SpoolerMessagesTest, MessagesInARowNeedNoExtraBreak)
{
    PutSpoolerMessage(SpoolerLevel::kError, "one");
    PutSpoolerMessage(SpoolerLevel::kError, "two");
    PutKeptText("No pages were found.");
    EXPECT_EQ(Written(), "ERROR: one\nERROR: two\nNo pages were found.");
}
