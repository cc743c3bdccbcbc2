// Objects group properties under one table id or group id: a scalar is a group of single variables, a table
// has rows of variables. The protocol engine finds the property of a received OID through them.
//
// An object and its properties are used by the thread that runs the protocol engine; nothing here locks.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lcmpExport.h"

class LcmpProperty;

namespace lcmpdetail {
class ChangedRows;
class ObjectIndex;
class PropertyIndex;
}  // namespace lcmpdetail

namespace ifcCard {

/// The two kinds of objects.
enum IfcCardObjectType : std::uint32_t { IFC_CARD_OBJECT_SCALAR = 0, IFC_CARD_OBJECT_TABLE = 1 };

}  // namespace ifcCard

/// The base of both kinds. "In order", below, is rows ascending and within a row ids ascending.
class LCMP_API LcmpObject {
public:
    /// `id`: table id (0 to 63) or group id (0 to 31). `common`: its OIDs carry the common flag. The `rows`
    /// rows exist from now on for the object's life; with none it can hold no property.
    LcmpObject(std::string name, ifcCard::IfcCardObjectType type, unsigned int id, bool common,
               unsigned int rows);

    /// Deletes all properties: they come from new.
    virtual ~LcmpObject();

    LcmpObject(const LcmpObject&) = delete;
    LcmpObject& operator=(const LcmpObject&) = delete;

    /// "Table" or "Scalar".
    virtual std::string getObjectTypeStr() const = 0;

    /// The OID of a variable of this object. Nothing is masked: what exceeds its field spills into the next.
    virtual unsigned int getOID(unsigned int id, unsigned int row) = 0;

    /// Hook: runs before a request reads or writes the property, once for each element that names it, inside
    /// handleLcmpMsg. The result is only logged. Base: nothing, true.
    virtual bool update(LcmpProperty* property, unsigned int row);

    /// Hook: runs after the property has taken a received value, inside handleLcmpMsg. False turns a served
    /// write into result 12; for responses and events it is only logged. Base: nothing, true.
    virtual bool updated(LcmpProperty* property, unsigned int row);

    /// The property with this OID, or null. An override may serve OIDs in a way of its own.
    virtual LcmpProperty* getPropFromOID(unsigned int oid) = 0;

    /// The object as text: rows from `firstRow` on (negative: from 0), at most `maxRows` of them (0 or
    /// negative: all), each property one line.
    virtual std::string str(int firstRow, int maxRows) const;

    /// Hands a property over: on true the object owns it. False leaves it with the caller and the object
    /// unchanged: null, an id that the row already has or a property that has an owner (one ERROR line each),
    /// a row that does not exist (no line).
    bool addProp(LcmpProperty* property, unsigned int row);

    /// The property with this id in this row; null and one ERROR line where there is none.
    LcmpProperty* getProp(unsigned int id, unsigned int row);

    /// The properties of one row in order; none and one ERROR line where there is no such row.
    std::vector<LcmpProperty*> getPropertiesOfRow(int row);

    /// All properties in order.
    std::vector<LcmpProperty*> getProperties() const;

    /// The properties that have a change to report, in order; asking clears their flags.
    std::vector<LcmpProperty*> getPropertiesToEvent() const;

    /// Calls `update` for every property in order. Its results are ignored; always true.
    bool updateAll();

    /// Puts every property back to its default, in order.
    void setToDefault();

    /// Whether getPropFromOID finds a property.
    bool isValidObjectId(unsigned int oid);

    // What the object was made with.
    const std::string& getName() const { return m_name; }
    unsigned int getId() const { return m_id; }
    ifcCard::IfcCardObjectType getObjectType() const { return m_type; }
    bool isCommon() const { return m_common; }
    unsigned int getRowCount() const { return m_rowCount; }

private:
    friend class lcmpdetail::ObjectIndex;  // looks properties up
    friend class LcmpProperty;             // tells that it has changed

    using Row = std::map<unsigned int, LcmpProperty*>;

    LcmpProperty* findProp(unsigned int id, unsigned int row) const;
    void settle(LcmpProperty& property);
    void noteChange(unsigned int row);

    ifcCard::IfcCardObjectType m_type;
    std::string m_name;
    unsigned int m_id;
    bool m_common;
    unsigned int m_rowCount;
    std::vector<std::unique_ptr<Row>> m_rows;
    std::unique_ptr<lcmpdetail::PropertyIndex> m_index;  // of the same properties, for lookups
    std::unique_ptr<lcmpdetail::ChangedRows> m_changedRows;
};

/// Rows of variables; a property's id is its column.
class LCMP_API LcmpTable : public LcmpObject {
public:
    /// As LcmpObject, of kind table.
    LcmpTable(std::string name, unsigned int id, bool common, unsigned int rows);

    std::string getObjectTypeStr() const override;
    unsigned int getOID(unsigned int column, unsigned int row) override;
    LcmpProperty* getPropFromOID(unsigned int oid) override;
    std::string str(int firstRow, int maxRows) const override;
};

/// A group of single variables; a property's id is its variable id.
class LCMP_API LcmpScalar : public LcmpObject {
public:
    /// Only row 0 can be reached by OID, so a scalar is given one row.
    LcmpScalar(std::string name, unsigned int id, bool common, unsigned int rows = 1);

    std::string getObjectTypeStr() const override;

    /// The row is ignored.
    unsigned int getOID(unsigned int variableId, unsigned int row) override;
    LcmpProperty* getPropFromOID(unsigned int oid) override;
    std::string str(int firstRow, int maxRows) const override;
};
