#include <gtest/gtest.h>

#include <random>

#include "capturedLog.h"
#include "station.h"

namespace {

// The bits of an address, most significant first: what a mask means, written down without a mask.
std::string bitsOf(std::uint32_t host) {
    std::string bits;
    for (int bit = 31; bit >= 0; --bit)
        bits += (host >> bit) % 2 == 1 ? '1' : '0';
    return bits;
}

std::uint32_t hostOf(const std::string& bits) {
    std::uint32_t host = 0;
    for (const char bit : bits)
        host = host * 2 + (bit == '1' ? 1 : 0);
    return host;
}

// All addresses that begin with the same bits.
class Block {
public:
    Block(std::uint32_t inside, unsigned int length) : m_prefix(bitsOf(inside).substr(0, length)) {}

    bool contains(std::uint32_t host) const {
        return bitsOf(host).compare(0, m_prefix.size(), m_prefix) == 0;
    }
    std::uint32_t first() const { return hostOf(m_prefix + std::string(32 - m_prefix.size(), '0')); }
    std::uint32_t last() const { return hostOf(m_prefix + std::string(32 - m_prefix.size(), '1')); }

    std::string text() const { return lcmpUdpHostToText(first()) + '/' + std::to_string(m_prefix.size()); }

private:
    std::string m_prefix;
};

// Where a block could be cut wrongly: around its ends, one bit away from them, and at the ends of all
// addresses.
std::vector<std::uint32_t> edgesOf(const Block& block) {
    std::vector<std::uint32_t> edges = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    for (const std::uint32_t end : {block.first(), block.last()}) {
        edges.insert(edges.end(), {end - 1, end, end + 1});
        for (unsigned int bit = 0; bit < 32; ++bit)
            edges.push_back(end ^ (1U << bit));
    }
    return edges;
}

using Random = std::mt19937;

std::uint32_t anyHost(Random& random) { return static_cast<std::uint32_t>(random()); }

// The first address that is judged wrongly, with the block; "" if there is none.
std::string findFault(const Block& block, Random& random) {
    LcmpUdpAllowList list;
    if (!list.add(block.text()))
        return block.text() + " is refused";
    std::vector<std::uint32_t> hosts = edgesOf(block);
    for (int i = 0; i < 200; ++i)
        hosts.push_back(anyHost(random));
    for (int i = 0; i < 50; ++i)  // inside
        hosts.push_back(block.first() | (anyHost(random) & (block.first() ^ block.last())));
    for (const std::uint32_t host : hosts) {
        if (list.contains(host) != block.contains(host))
            return block.text() + " and " + lcmpUdpHostToText(host);
    }
    return "";
}

}  // namespace

TEST(UdpAccess, EveryMaskLetsInWhoBeginsWithTheSameBits) {
    Random random(1);
    for (unsigned int length = 0; length <= 32; ++length) {
        for (const std::uint32_t inside : {0U, 0xFFFFFFFFU, 0x7F000001U, 0xC0000207U, 0x80000000U})
            ASSERT_EQ(findFault(Block(inside, length), random), "");
        for (int i = 0; i < 20; ++i)
            ASSERT_EQ(findFault(Block(anyHost(random), length), random), "");
    }
}

TEST(UdpAccess, SeveralBlocksLetInWhoIsInOneOfThem) {
    Random random(2);
    for (int round = 0; round < 200; ++round) {
        LcmpUdpAllowList list;
        std::vector<Block> blocks;
        for (int i = 0; i < 4; ++i) {
            blocks.emplace_back(anyHost(random), static_cast<unsigned int>(random() % 33));
            ASSERT_TRUE(list.add(blocks.back().text()));
        }
        for (const Block& block : blocks) {
            for (const std::uint32_t host : edgesOf(block)) {
                const bool inOne = std::any_of(blocks.begin(), blocks.end(),
                                               [host](const Block& one) { return one.contains(host); });
                ASSERT_EQ(list.contains(host), inOne) << lcmpUdpHostToText(host);
            }
        }
    }
}

TEST(UdpAccess, EveryOtherWayToWriteABlockIsRefused) {
    Random random(3);
    for (unsigned int length = 0; length < 32; ++length) {
        const Block block(anyHost(random), length);
        for (unsigned int bit = 0; bit < 32 - length; ++bit) {
            LcmpUdpAllowList list;
            const std::string text =
                lcmpUdpHostToText(block.first() | 1U << bit) + '/' + std::to_string(length);
            ASSERT_FALSE(list.add(text)) << text;
        }
    }
}

// ---------------------------------------------------------------- over sockets

TEST(UdpAccess, DatagramsOfUnlistedLoopbackAddressesAreNeitherDecodedNorAnswered) {
    constexpr int strangers = 200;
    constexpr int datagrams = 100;  // of each
    Station card("127.0.0.1");
    ASSERT_TRUE(card.allow("127.64.0.0/10"));
    card.control.onUpdate = [] { FAIL() << "a request was looked at"; };
    const CapturedLog log(levelDebug3);
    Random random(4);
    for (int i = 0; i < strangers; ++i) {
        const Peer stranger(lcmpUdpHostToText(0x7F800001 + anyHost(random) % 0x7FFFFE));
        for (unsigned int id = 0; id < datagrams; ++id)
            stranger.send(writeRequest(id, {clockIs(3)}), card);
        EXPECT_EQ(card.handleWaiting(), 0);
        ASSERT_TRUE(stranger.hasNothing());
    }
    EXPECT_EQ(card.getCounters().notAllowed, static_cast<std::uint64_t>(strangers * datagrams));
    EXPECT_EQ(card.getCounters().handled, 0U);
    EXPECT_EQ(card.getCounters().sent, 0U);
    EXPECT_TRUE(card.frames.empty());
    EXPECT_TRUE(log.lines().empty()) << log.all();
    EXPECT_EQ(card.clockValue(), 128U);
}

TEST(UdpAccess, EveryMaskHoldsOnTheSocket) {
    const Peer inside("127.85.170.86");
    for (unsigned int length = 8; length <= 32; ++length) {
        const Block block(inside.address().host, length);
        Station card("127.0.0.1");
        ASSERT_TRUE(card.allow(block.text()));
        inside.send(readRequest(1, {clockIs(0)}), card);
        EXPECT_EQ(card.handleWaiting(), 1) << block.text();
        if (length == 8)
            continue;  // every loopback address is inside
        // The last bit that counts is another.
        const Peer outside(lcmpUdpHostToText(inside.address().host ^ 1U << (32 - length)));
        outside.send(readRequest(1, {clockIs(0)}), card);
        EXPECT_EQ(card.handleWaiting(), 0) << block.text();
        EXPECT_TRUE(outside.hasNothing());
    }
}
