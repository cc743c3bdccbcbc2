#include <gtest/gtest.h>

#include "frameBuilder.h"
#include "frames.h"
#include "hostileRun.h"

namespace {

std::vector<std::string> originals() {
    std::vector<std::string> all;
    for (const auto& frames : {goldenFrames(), brokenFrames()}) {
        for (const Frame& frame : frames)
            all.push_back(frame.bytes);
    }
    return all;
}

}  // namespace

TEST(HostileFrames, NoAnswerIsTooLongOrUncalledFor) {
    constexpr std::uint64_t frames = 20000;
    HostileRun run(originals(), 1);
    run.send(frames);
    EXPECT_EQ(run.tally().malformed, frames);
    EXPECT_EQ(run.tally().wrongAnswers, 0U) << "the first to " << run.tally().firstWrong;
    EXPECT_GT(run.tally().unanswered, frames / 10) << "hardly any frame was to be passed over";
    EXPECT_LT(run.tally().unanswered, frames) << "no frame was to be refused";
    EXPECT_GT(run.tally().served, 0U) << "every frame was broken beyond repair";
}

TEST(HostileFrames, TheSameSeedBendsTheSame) {
    HostileFrames one(originals(), 1);
    HostileFrames same(originals(), 1);
    HostileFrames other(originals(), 2);
    int different = 0;
    for (int i = 0; i < 1000; ++i) {
        const std::string frame = one.next();
        ASSERT_EQ(frame, same.next());
        different += frame != other.next() ? 1 : 0;
    }
    EXPECT_GT(different, 900);
}

TEST(HostileFrames, EveryFaultIsMade) {
    HostileFrames frames(originals(), 3);
    std::array<int, 5> made{};
    for (int i = 0; i < 10000; ++i)
        ++made.at(static_cast<std::size_t>(faultOf(frames.next())));
    for (const int number : made)
        EXPECT_GT(number, 100);
}

// ---------------------------------------------------------------- the judge is held against what it must say

TEST(HostileFrames, FaultsAreToldApart) {
    const Element element{0x11800002, 3, "03"};
    EXPECT_EQ(faultOf(writeRequest(7, {element})), Fault::none);
    EXPECT_EQ(faultOf(readRequest(7)), Fault::none);
    EXPECT_EQ(faultOf(""), Fault::ignored);
    EXPECT_EQ(faultOf(readRequest(7).substr(0, 7)), Fault::ignored);
    EXPECT_EQ(faultOf("XTN1" + readRequest(7).substr(4)), Fault::ignored);
    EXPECT_EQ(faultOf(readResponse(7, 0, 0)), Fault::ignored);
    EXPECT_EQ(faultOf(writeResponse(7, 0, 0)), Fault::ignored);
    EXPECT_EQ(faultOf(amiFrame(7, 0, 0)), Fault::ignored);
    EXPECT_EQ(faultOf(bytes("4F544E31 02 01 0007")), Fault::version);
    EXPECT_EQ(faultOf(bytes("4F544E31 02 03 0007")), Fault::ignored) << "a response of another version";
    EXPECT_EQ(faultOf(header(6, 7)), Fault::action);
    EXPECT_EQ(faultOf(header(0, 7)), Fault::action);
    EXPECT_EQ(faultOf(writeRequest(7, {element}) + "x"), Fault::misfit);
    EXPECT_EQ(faultOf(writeRequest(7, {element.declaring(2)})), Fault::misfit);
}

TEST(HostileFrames, WrongAnswersAreNoticed) {
    const std::string broken = writeRequest(7) + "x";
    EXPECT_TRUE(mayAnswer(broken, {writeResponse(7, 8, 0)}));
    EXPECT_FALSE(mayAnswer(broken, {})) << "none";
    EXPECT_FALSE(mayAnswer(broken, {writeResponse(7, 8, 0), writeResponse(7, 8, 0)})) << "two";
    EXPECT_FALSE(mayAnswer(broken, {writeResponse(7, 8, 0) + "x"})) << "too long";
    EXPECT_FALSE(mayAnswer(broken, {writeResponse(7, 0, 0)})) << "another result";
    EXPECT_FALSE(mayAnswer(broken, {writeResponse(8, 8, 0)})) << "another message id";
    EXPECT_FALSE(mayAnswer(broken, {readResponse(7, 8, 0)})) << "another action";
    const std::string whole = readRequest(7, {{0x11800002, 3, "03"}});
    const Element text = Element::holding(0x02000000, 9, std::string(1182, 's'));
    EXPECT_TRUE(mayAnswer(whole, {readResponse(7, 0, 0, {text})}));
    EXPECT_FALSE(mayAnswer(whole, {readResponse(7, 0, 0, {text}) + "x"})) << "beyond 1200 bytes";
    EXPECT_TRUE(mayAnswer(whole, {readResponse(7, 10, 0)}));
    EXPECT_FALSE(mayAnswer(whole, {readResponse(7, 10, 0, {text})})) << "a refusal with values";
    EXPECT_FALSE(mayAnswer(writeResponse(7, 0, 0), {writeResponse(7, 0, 0)})) << "to a response";
    EXPECT_FALSE(mayAnswer(amiFrame(7, 0, 0), {writeResponse(7, 0, 0)})) << "to an event";
    EXPECT_FALSE(mayAnswer("XTN1" + readRequest(7).substr(4), {readResponse(7, 13, 0)}))
        << "of another magic";
}
