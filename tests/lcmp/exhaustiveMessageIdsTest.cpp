// What a card notices in the message ids of its peers, held against a few lines that say it again.
#include <map>

#include <string>
#include <vector>

#include "frameBuilder.h"
#include "testEndpoint.h"

#include <gtest/gtest.h>

namespace {

/// The result for a request's message id, by the history of its peer.
class Historian {
public:
    unsigned int judge(const std::string& peer, unsigned int id) {
        const auto known = m_last.find(peer);
        if (known == m_last.end()) {
            if (m_last.size() == 5)
                return 16;
            m_last[peer] = id;
            return RESULT_OK;
        }
        const unsigned int last = known->second;
        known->second = id;
        if (id == last)
            return RESULT_DUPLICATE_MSG;
        return id == (last + 1) % 65536 ? RESULT_OK : RESULT_LOST_MSG;
    }

private:
    std::map<std::string, unsigned int> m_last;
};

class EveryMessageId : public testing::Test {
protected:
    /// What the endpoint's own check says.
    unsigned int check(unsigned int id, const std::string& peer) {
        message.setMessageId(static_cast<std::uint16_t>(id));
        return endpoint.checkMsgId(&message, peer);
    }

    void expectJudged(unsigned int id, const std::string& peer = "192.0.2.1") {
        ASSERT_EQ(check(id, peer), historian.judge(peer, id)) << peer << " " << id;
    }

    TestEndpoint endpoint;
    LCMPRequest message;
    static inline Historian historian;  // one in a process, as the endpoint's own
};

/// The ids around the wrap and around the change of a byte, and some others.
std::vector<unsigned int> window() {
    std::vector<unsigned int> ids = {100, 32767, 32768, 40000};
    for (unsigned int distance = 0; distance <= 20; ++distance) {
        ids.push_back((65525 + distance) & 0xFFFF);
        ids.push_back(245 + distance);
    }
    return ids;
}

}  // namespace

TEST_F(EveryMessageId, IsJudgedBehindAFewOthers) {
    for (const unsigned int last : {0U, 1U, 2U, 255U, 256U, 32767U, 32768U, 65533U, 65534U, 65535U}) {
        for (unsigned int next = 0; next < 65536 && !HasFatalFailure(); ++next) {
            expectJudged(last);
            expectJudged(next);
        }
    }
}

TEST_F(EveryMessageId, OfAWindowIsJudgedBehindEveryOther) {
    for (const unsigned int last : window()) {
        for (const unsigned int next : window()) {
            for (const unsigned int third : window()) {
                expectJudged(last);
                expectJudged(next);
                expectJudged(third);
                if (HasFatalFailure())
                    return;
            }
        }
    }
}

TEST_F(EveryMessageId, InSequenceIsAcceptedTwiceAroundTheWrap) {
    expectJudged(1);
    for (unsigned int count = 2; count < 3 * 65536 && !HasFatalFailure(); ++count) {
        ASSERT_EQ(historian.judge("192.0.2.1", count & 0xFFFF), RESULT_OK);
        ASSERT_EQ(check(count & 0xFFFF, "192.0.2.1"), RESULT_OK) << count;
    }
}

TEST_F(EveryMessageId, IsJudgedForEachPeerByItself) {
    const std::vector<std::string> peers = {"192.0.2.1", "192.0.2.2", "192.0.2.3", "192.0.2.4",
                                            "192.0.2.5", "192.0.2.6", "192.0.2.7"};
    // Each peer goes round at a pace of its own: in step, repeating, leaving gaps, backwards.
    const std::vector<unsigned int> paces = {1, 0, 2, 65535, 1, 1, 0};
    for (unsigned int turn = 0; turn < 70000 && !HasFatalFailure(); ++turn) {
        for (std::size_t peer = 0; peer < peers.size(); ++peer)
            expectJudged((65000 + turn * paces[peer]) & 0xFFFF, peers[peer]);
    }
}

TEST_F(EveryMessageId, OfARequestStandsInItsAnswerWithWhatWasNoticed) {
    unsigned int id = 0;
    for (unsigned int count = 0; count < 3 * 65536; ++count) {
        id = (id + count % 3) & 0xFFFF;  // now and then the same, or one too far
        endpoint.sent.clear();
        ASSERT_TRUE(endpoint.receive(readRequest(id)));
        ASSERT_EQ(endpoint.lastSent(), hex(readResponse(id, historian.judge("192.0.2.1", id), 0)));
    }
}
