// An endpoint whose transport is a vector: what it sends can be read, and what a peer would answer be set.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bytes.h"
#include "lcmpProtocolBase.h"

class TestEndpoint : public LcmpProtocolBase {
public:
    TestEndpoint() = default;
    explicit TestEndpoint(bool errorReplies) : LcmpProtocolBase(errorReplies) {}

    /// Serialises into an exact buffer and keeps the frame and whom it is for. A request is answered by
    /// `peer`.
    bool sendMessage(LCMPMessage* msg) override {
        std::string frameBytes(static_cast<std::size_t>(msg->getHeaderSize() + msg->sizeOfTlvs()), '\0');
        if (msg->serialize(frameBytes.data(), static_cast<int>(frameBytes.size())) == 0)
            return false;
        sent.push_back(frameBytes);
        sentTo.push_back(msg->getPeerAddress());
        if (!sends)
            return false;
        if (dynamic_cast<LCMPRequest*>(msg) != nullptr)
            replyBuffer = peer(frameBytes);
        return true;
    }

    /// Hands over a received frame in a buffer of exactly its size, with an unmapped page behind it.
    bool receive(const std::string& frameBytes, const char* from = "192.0.2.1") {
        GuardedBytes guarded(frameBytes);
        return handleLcmpMsg(guarded.size(), guarded.data(), from);
    }

    /// The last frame sent, as "4F 54 4E 31 ..."; "" if nothing was sent.
    std::string lastSent() const { return sent.empty() ? std::string() : hex(sent.back()); }

    std::vector<std::string> sent;
    std::vector<std::string> sentTo;  // peer address of each of them
    bool sends = true;                // what sendMessage returns for a frame that could be serialised
    std::function<std::string(const std::string& request)> peer = [](const std::string&) {
        return std::string();
    };

    using LcmpProtocolBase::addToAmi;
    using LcmpProtocolBase::checkForEvent;
    using LcmpProtocolBase::checkMsgId;
    using LcmpProtocolBase::eventAdd;
    using LcmpProtocolBase::eventTables;
    using LcmpProtocolBase::handleAmi;
    using LcmpProtocolBase::handleRequest;
    using LcmpProtocolBase::handleResponse;
    using LcmpProtocolBase::lastMessageId;
    using LcmpProtocolBase::lcmpObjects;
    using LcmpProtocolBase::replyBuffer;
    using LcmpProtocolBase::reserved;
    using LcmpProtocolBase::sendAmiMsgBase;
    using LcmpProtocolBase::sendErrorReplies;
    using LcmpProtocolBase::tempProperties;
};
