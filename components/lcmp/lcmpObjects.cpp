#include "lcmpObjects.h"

#include <typeinfo>
#include <utility>

#include "detail/changedRows.h"
#include "detail/log.h"
#include "detail/objectIndex.h"
#include "detail/oidLayout.h"
#include "detail/propertyIndex.h"
#include "detail/text.h"
#include "lcmpProperty.h"

using namespace lcmpdetail;

LcmpObject::LcmpObject(std::string name, ifcCard::IfcCardObjectType type, unsigned int id, bool common,
                       unsigned int rows)
    : m_type(type),
      m_name(std::move(name)),
      m_id(id),
      m_common(common),
      m_rowCount(rows),
      m_index(std::make_unique<PropertyIndex>(rows)),
      m_changedRows(std::make_unique<ChangedRows>(rows)) {
    m_rows.reserve(rows);
    for (unsigned int row = 0; row < rows; ++row)
        m_rows.push_back(std::make_unique<Row>());
}

unsigned int lcmpdetail::objectsDestroyed = 0;

LcmpObject::~LcmpObject() {
    ++objectsDestroyed;
    // Not by a list of them: there may be no memory for it.
    for (const auto& row : m_rows) {
        for (const auto& entry : *row)
            delete entry.second;
    }
}

bool LcmpObject::update(LcmpProperty* /*property*/, unsigned int /*row*/) { return true; }

bool LcmpObject::updated(LcmpProperty* /*property*/, unsigned int /*row*/) { return true; }

namespace {

// Whether a property is one of the library's own kinds of fixed width, whose answers are known. A derived
// class may answer as it likes.
bool isPlainWord(LcmpProperty& property, int type) {
    const auto isExactly = [&property](const std::type_info& kind) { return typeid(property) == kind; };
    switch (type) {
        case UINT64:
            return isExactly(typeid(TypeProperty<unsigned long long>));
        case UINT32:
            return isExactly(typeid(TypeProperty<unsigned int>));
        case UINT16:
            return isExactly(typeid(TypeProperty<unsigned short>));
        case UINT8:
            return isExactly(typeid(TypeProperty<unsigned char>));
        case INT64:
            return isExactly(typeid(TypeProperty<long long>));
        case INT32:
            return isExactly(typeid(TypeProperty<int>));
        case INT16:
            return isExactly(typeid(TypeProperty<short>));
        case INT8:
            return isExactly(typeid(TypeProperty<signed char>));
        case BOOLEAN:
            return isExactly(typeid(TypeProperty<bool>));
        case IPv4ADDRESS:
            return isExactly(typeid(IpAddressProperty));
        case UNIX_TIME:
            return isExactly(typeid(UnixTimeProperty));
        default:
            return false;
    }
}

}  // namespace

bool LcmpObject::addProp(LcmpProperty* property, unsigned int row) {
    if (property == nullptr) {
        LCMP_ERROR("[%s] Property == NULL", m_name.c_str());
        return false;
    }
    if (row >= m_rowCount)
        return false;
    Row& properties = *m_rows[row];
    if (property->m_owner != nullptr || properties.count(property->m_id) != 0) {
        LCMP_ERROR("[%s] Property %d already added", m_name.c_str(), property->m_id);
        return false;
    }
    // What may lack memory comes first: a property that was not added has left no trace.
    m_index->makeRoom(property->m_id);
    properties.emplace(property->m_id, property);
    m_index->add(property, property->m_id, row);
    property->m_row = row;
    LCMP_DEBUG3("[%s] Property %d added for row %d", m_name.c_str(), property->m_id, row);
    property->m_owner = this;
    if (property->m_eventPending)
        noteChange(row);
    settle(*property);
    return true;
}

// Keeps what the property would always answer from now on.
void LcmpObject::settle(LcmpProperty& property) {
    // A derived class may compose OIDs in a way of its own, and a legacy property change its id.
    if ((typeid(*this) == typeid(LcmpTable) || typeid(*this) == typeid(LcmpScalar)) && !property.m_legacy) {
        property.m_oid = getOID(property.m_id, property.m_row);
        property.m_oidKnown = true;
    }
    const int type = property.getType();
    if (isPlainWord(property, type)) {
        property.m_wordType = static_cast<std::uint8_t>(type);
        property.m_wordSize = static_cast<std::uint8_t>(lcmpTlvFixedWidth(static_cast<unsigned int>(type)));
    }
}

void LcmpObject::noteChange(unsigned int row) { m_changedRows->note(row); }

LcmpProperty* LcmpObject::getProp(unsigned int id, unsigned int row) {
    if (LcmpProperty* property = findProp(id, row)) {
        LCMP_DEBUG3("[%s] Property %d for row %d found", m_name.c_str(), id, row);
        return property;
    }
    LCMP_ERROR("[%s] Could not find property %d for row %d", m_name.c_str(), id, row);
    return nullptr;
}

LcmpProperty* LcmpObject::findProp(unsigned int id, unsigned int row) const {
    if (row >= m_rowCount)
        return nullptr;
    LcmpProperty* property = m_index->find(id, row);
    if (property != nullptr || m_index->knowsAll())
        return property;
    const auto found = m_rows[row]->find(id);
    return found != m_rows[row]->end() ? found->second : nullptr;
}

std::vector<LcmpProperty*> LcmpObject::getPropertiesOfRow(int row) {
    std::vector<LcmpProperty*> properties;
    if (static_cast<unsigned int>(row) >= m_rowCount) {
        LCMP_ERROR("[%s] trying to get properties of not existing row %i, size is claimed %i", m_name.c_str(),
                   row, m_rowCount);
        return properties;
    }
    for (const auto& entry : *m_rows[static_cast<unsigned int>(row)])
        properties.push_back(entry.second);
    return properties;
}

std::vector<LcmpProperty*> LcmpObject::getProperties() const {
    std::vector<LcmpProperty*> properties;
    for (const auto& row : m_rows) {
        for (const auto& entry : *row)
            properties.push_back(entry.second);
    }
    return properties;
}

std::vector<LcmpProperty*> LcmpObject::getPropertiesToEvent() const {
    std::vector<LcmpProperty*> properties;
    m_changedRows->visit([this, &properties](std::size_t row) {
        for (const auto& entry : *m_rows[row]) {
            if (entry.second->m_eventPending)
                properties.push_back(entry.second);
        }
    });
    // Only when all are listed: where memory is lacking, none of them is forgotten.
    m_changedRows->clear();
    for (LcmpProperty* property : properties)
        property->sendEvent();
    return properties;
}

bool LcmpObject::updateAll() {
    for (LcmpProperty* property : getProperties())
        update(property, property->getRow());
    return true;
}

// The properties change, and they are the object's.
void LcmpObject::setToDefault() {  // NOLINT(readability-make-member-function-const)
    for (LcmpProperty* property : getProperties())
        property->setToDefault();
}

bool LcmpObject::isValidObjectId(unsigned int oid) { return getPropFromOID(oid) != nullptr; }

std::string LcmpObject::str(int firstRow, int maxRows) const {
    const unsigned int first = firstRow > 0 ? static_cast<unsigned int>(firstRow) : 0;
    unsigned int rowsLeft = maxRows > 0 ? static_cast<unsigned int>(maxRows) : m_rowCount;
    TextStream text;
    text << m_id << " (size = " << m_rowCount << ")\n---------------------------\n";
    for (unsigned int row = first; row < m_rowCount && rowsLeft > 0; ++row, --rowsLeft) {
        text << "\nProperties for row " << row << ":\n";
        for (const auto& entry : *m_rows[row])
            text << entry.second->str();
    }
    text << "\n";
    return text.str();
}

// ---------------------------------------------------------------- table

LcmpTable::LcmpTable(std::string name, unsigned int id, bool common, unsigned int rows)
    : LcmpObject(std::move(name), ifcCard::IFC_CARD_OBJECT_TABLE, id, common, rows) {}

std::string LcmpTable::getObjectTypeStr() const { return "Table"; }

unsigned int LcmpTable::getOID(unsigned int column, unsigned int row) {
    return tableOid(getId(), column, row, isCommon());
}

LcmpProperty* LcmpTable::getPropFromOID(unsigned int oid) {
    const bool mine = oidKind(oid) == tableKind && getObjectType() == ifcCard::IFC_CARD_OBJECT_TABLE &&
                      tableId(oid) == getId() && oidCommon(oid) == isCommon();
    LcmpProperty* property = mine ? getProp(tableColumn(oid), tableRow(oid)) : nullptr;
    LCMP_DEBUG3("[%s] %s object id %#x for table %d", getName().c_str(),
                property != nullptr ? "Valid" : "Invalid", oid, getId());
    return property;
}

std::string LcmpTable::str(int firstRow, int maxRows) const {
    return "\nTable : " + LcmpObject::str(firstRow, maxRows);
}

// ---------------------------------------------------------------- scalar

LcmpScalar::LcmpScalar(std::string name, unsigned int id, bool common, unsigned int rows)
    : LcmpObject(std::move(name), ifcCard::IFC_CARD_OBJECT_SCALAR, id, common, rows) {}

std::string LcmpScalar::getObjectTypeStr() const { return "Scalar"; }

unsigned int LcmpScalar::getOID(unsigned int variableId, unsigned int /*row*/) {
    return scalarOid(getId(), variableId, isCommon());
}

LcmpProperty* LcmpScalar::getPropFromOID(unsigned int oid) {
    const bool mine = oidKind(oid) == scalarKind && getObjectType() == ifcCard::IFC_CARD_OBJECT_SCALAR &&
                      validScalar(oid) && scalarGroup(oid) == getId() && oidCommon(oid) == isCommon();
    LcmpProperty* property = mine ? getProp(scalarVariable(oid), 0) : nullptr;
    LCMP_DEBUG3("[%s] %s object id %#x for scalar %d", getName().c_str(),
                property != nullptr ? "Valid" : "Invalid", oid, getId());
    return property;
}

std::string LcmpScalar::str(int firstRow, int maxRows) const {
    return "\nScalar : " + LcmpObject::str(firstRow, maxRows);
}
