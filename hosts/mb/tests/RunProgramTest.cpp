// The helper that talks to a program on a terminal.
#include "RunProgram.h"

#include <csignal>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

using namespace mbtest;

TEST(TalkToProgram, AQuestionThatTheConversationDoesNotAnswerFailsTheTestAndEndsTheProgram)
{
    static Result result;
    EXPECT_NONFATAL_FAILURE(
        {
            RunOptions options;
            options.patience = std::chrono::seconds(1);
            result = talkToProgram("/bin/sh", {"-c", "printf 'Another question? '; read answer; echo unreached"}, options,
                                   {{"The expected question? ", "y\n"}});
        },
        "It wrote:\nAnother question? ");
    EXPECT_EQ(result.code, 128 + SIGKILL);
}

TEST(TalkToProgram, AnAnswerIsTypedWhenItsQuestionComes)
{
    const Result result = talkToProgram("/bin/sh", {"-c", "printf 'Who? '; read answer; echo \"it is $answer\""}, {}, {{"Who? ", "Ada\n"}});
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.out.find("it is Ada"), std::string::npos) << result.out;
}
