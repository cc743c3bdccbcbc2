#include "detail/yamlTree.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <sstream>
#include <utility>

#include "detail/utf8.h"

namespace lcmpdetail {
namespace {

YamlPlace placeOf(const YAML::Mark& mark) {
    if (mark.is_null())
        return {};
    return {static_cast<unsigned int>(mark.line) + 1, static_cast<unsigned int>(mark.column) + 1};
}

// Ends the parser from inside.
struct Stop {
    YamlPlace place;
    std::string problem;
};

class TreeBuilder : public YAML::EventHandler {
public:
    YamlNode takeRoot() { return std::move(m_root); }

    void OnDocumentStart(const YAML::Mark& mark) override {
        if (m_documents++ > 0)
            throw Stop{placeOf(mark), "a second document begins; a model is one document"};
    }
    void OnDocumentEnd() override {}

    void OnNull(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override {
        add(nodeOf(YamlNode::Kind::nothing, mark));
    }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override {
        throw Stop{placeOf(mark), "aliases are not supported; write out what is meant"};
    }
    void OnScalar(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                  const std::string& value) override {
        // The parser lets them by, and nothing could write them again.
        if (!isUtf8(value))
            throw Stop{placeOf(mark), "bytes that are no UTF-8; save the file as UTF-8"};
        YamlNode node = nodeOf(YamlNode::Kind::scalar, mark);
        node.text = value;
        add(std::move(node));
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                         YAML::EmitterStyle::value /*style*/) override {
        open(nodeOf(YamlNode::Kind::list, mark));
    }
    void OnSequenceEnd() override { close(); }
    void OnMapStart(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                    YAML::EmitterStyle::value /*style*/) override {
        open(nodeOf(YamlNode::Kind::map, mark));
    }
    void OnMapEnd() override { close(); }

private:
    YamlNode nodeOf(YamlNode::Kind kind, const YAML::Mark& mark) {
        if (++m_nodes > lcmpModelMaxNodes)
            throw Stop{placeOf(mark), "more than " + std::to_string(lcmpModelMaxNodes) + " values"};
        YamlNode node;
        node.kind = kind;
        node.place = placeOf(mark);
        return node;
    }

    void open(YamlNode node) {
        if (m_open.size() >= lcmpModelMaxDepth)
            throw Stop{node.place, "more than " + std::to_string(lcmpModelMaxDepth) +
                                       " lists and maps inside each other"};
        m_open.push_back(std::move(node));
    }

    void close() {
        YamlNode node = std::move(m_open.back());
        m_open.pop_back();
        add(std::move(node));
    }

    void add(YamlNode node) {
        if (m_open.empty())
            m_root = std::move(node);
        else
            m_open.back().items.push_back(std::move(node));
    }

    std::vector<YamlNode> m_open;  // from the root inwards
    YamlNode m_root;
    unsigned int m_nodes = 0;
    unsigned int m_documents = 0;
};

}  // namespace

const char* kindText(const YamlNode& node) {
    switch (node.kind) {
        case YamlNode::Kind::scalar:
            return "a single value";
        case YamlNode::Kind::list:
            return "a list";
        case YamlNode::Kind::map:
            return "a map";
        default:
            return "nothing";
    }
}

bool readYaml(const std::string& text, YamlNode& root, std::string& problem, YamlPlace& place) {
    try {
        std::istringstream stream(text);
        YAML::Parser parser(stream);
        TreeBuilder builder;
        while (parser.HandleNextDocument(builder)) {
        }
        root = builder.takeRoot();
        return true;
    } catch (const Stop& stop) {
        problem = stop.problem;
        place = stop.place;
    } catch (const YAML::Exception& error) {
        problem = "no YAML: " + error.msg;
        place = placeOf(error.mark);
    }
    return false;
}

}  // namespace lcmpdetail
