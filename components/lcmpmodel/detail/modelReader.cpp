#include "detail/modelReader.h"

#include <cstdint>
#include <map>
#include <tuple>

#include "detail/variableReader.h"

namespace lcmpdetail {
namespace {

constexpr unsigned int maxTableId = 63;
constexpr unsigned int maxGroupId = 31;
constexpr unsigned int maxCommonGroupId = 3;
constexpr unsigned int maxRows = 16384;

// Where each name, or id, was used first; a second use is a fault.
template <typename Key>
class Taken {
public:
    void take(const Key& key, const std::string& what, const YamlPlace& place, Faults& faults) {
        const auto [first, isNew] = m_places.emplace(key, place);
        if (!isNew)
            faults.add(place, what + " is taken since line " + std::to_string(first->second.line));
    }

private:
    std::map<Key, YamlPlace> m_places;
};

class ModelReader {
public:
    explicit ModelReader(Faults& faults) : m_faults(faults) {}

    LcmpModel read(const YamlNode& root) {
        const Fields fields(root, "a model", {"card", "description", "objects"}, m_faults);
        readText(fields.require("card"), "card", m_faults, m_model.card);
        readText(fields.find("description"), "description", m_faults, m_model.description);
        const YamlNode* objects = fields.require("objects");
        if (objects != nullptr && !objects->isList())
            m_faults.add(objects->place, std::string("objects is a list, and here is ") + kindText(*objects));
        else if (objects != nullptr)
            for (const YamlNode& node : objects->items)
                readObject(node);
        return m_model;
    }

private:
    using ObjectKey = std::tuple<bool, bool, unsigned int>;  // table, common, id

    void readObject(const YamlNode& node) {
        const Fields fields(node, "an object",
                            {"name", "kind", "id", "common", "rows", "description", "variables"}, m_faults);
        if (!node.isMap())
            return;
        LcmpModelObject object;
        const YamlNode* name = fields.require("name");
        if (readName(name, m_faults, object.name))
            m_names.take(object.name, "the name '" + object.name + "'", name->place, m_faults);
        readFlag(fields.find("common"), "common", m_faults, object.common);
        readText(fields.find("description"), "description", m_faults, object.description);
        // An object of no kind is taken for that which has its keys, so that its variables are judged, too.
        // Of its id nothing can be said.
        const bool kindKnown = readKind(fields.require("kind"), object);
        if (!kindKnown && fields.find("rows") != nullptr)
            object.kind = ifcCard::IFC_CARD_OBJECT_TABLE;
        const YamlNode* id = fields.require("id");
        if (kindKnown)
            readId(id, object);
        if (readRows(fields, object))
            readVariables(fields.require("variables"), object);
        m_model.objects.push_back(std::move(object));
    }

    bool readKind(const YamlNode* node, LcmpModelObject& object) {
        std::string text;
        if (!readText(node, "kind", m_faults, text))
            return false;
        if (text != "scalar" && text != "table") {
            m_faults.add(node->place, "kind is scalar or table, not '" + text + "'");
            return false;
        }
        object.kind = text == "table" ? ifcCard::IFC_CARD_OBJECT_TABLE : ifcCard::IFC_CARD_OBJECT_SCALAR;
        return true;
    }

    void readId(const YamlNode* node, LcmpModelObject& object) {
        const unsigned int highest = object.isTable() ? maxTableId
                                     : object.common  ? maxCommonGroupId
                                                      : maxGroupId;
        const std::string what = object.isTable() ? "table id"
                                 : object.common  ? "group id of a common scalar"
                                                  : "group id";
        if (!readNumber(node, what, 0, highest, m_faults, object.id))
            return;
        const std::string taken = "the " + what + " " + std::to_string(object.id);
        m_ids.take({object.isTable(), object.common, object.id}, taken, node->place, m_faults);
    }

    // False: how many rows there are is not known.
    bool readRows(const Fields& fields, LcmpModelObject& object) {
        if (object.isTable())
            return readNumber(fields.require("rows"), "rows", 1, maxRows, m_faults, object.rows);
        if (const YamlNode* node = fields.find("rows"))
            m_faults.add(node->place, "a scalar has no rows");
        return true;
    }

    void readVariables(const YamlNode* list, LcmpModelObject& object) {
        if (list == nullptr)
            return;
        if (!list->isList())
            return m_faults.add(list->place,
                                std::string("variables is a list, and here is ") + kindText(*list));
        // Before they are read: first values may exist once for each.
        m_cells += std::uint64_t{list->items.size()} * object.rows;
        if (m_cells > lcmpModelMaxCells)
            return m_faults.add(list->place, "more than " + std::to_string(lcmpModelMaxCells) +
                                                 " variables, each counted once for each row");
        Taken<std::string> names;
        Taken<unsigned int> ids;
        for (const YamlNode& node : list->items) {
            VariableRead read = readVariable(node, object, m_room, m_faults);
            if (read.nameKnown)
                names.take(read.variable.name, "the name '" + read.variable.name + "'", read.namePlace,
                           m_faults);
            if (read.idKnown)
                ids.take(read.variable.id, "the id " + std::to_string(read.variable.id), read.idPlace,
                         m_faults);
            object.variables.push_back(std::move(read.variable));
        }
    }

    Faults& m_faults;
    LcmpModel m_model;
    std::uint64_t m_cells = 0;
    std::uint64_t m_room = lcmpModelMaxHeldBytes;
    Taken<std::string> m_names;
    Taken<ObjectKey> m_ids;
};

}  // namespace

LcmpModel readModel(const YamlNode& root, Faults& faults) { return ModelReader(faults).read(root); }

}  // namespace lcmpdetail
