// The base of every variable: one typed value with an id, a name, an access right, and the object and row
// that hold it. The protocol engine reads, writes, checks and serialises any variable through this class
// without knowing its type.
//
// A property is used from the thread that runs the protocol engine; nothing here locks.
#pragma once

#include <cstdint>
#include <string>

#include "lcmpExport.h"
#include "lcmpTlv.h"

class LcmpObject;
class OldStyleProperty;

/// Who may write a variable. Only read-only is special; every other value is writable.
enum IfcCardVarAccessType : std::uint32_t { IFC_CARD_VAR_WRITABLE = 0, IFC_CARD_VAR_READ_ONLY = 1 };

/// One variable. Derived classes hold its value; everything else is told of here.
class LCMP_API LcmpProperty {
public:
    /// `id`: the variable's id inside its object (column or variable id), or the full OID of a property that
    /// will have no owner. `name` is copied; null is the empty name. `eventable`: changes are to be reported.
    LcmpProperty(unsigned int id, const char* name, IfcCardVarAccessType access, bool eventable);

    /// Withdraws the property from the event message that is being collected, if it waits there.
    virtual ~LcmpProperty();

    LcmpProperty& operator=(const LcmpProperty&) = delete;

    /// Puts the default value back; does not count as a change to report. Base: does nothing.
    virtual void setToDefault();

    /// Whether the value is the default.
    virtual bool isDefault() = 0;

    /// Writes the property as one TLV element and returns the number of bytes, 7 + length(); what `size`
    /// leaves behind them may be overwritten. Fewer than that in `size`, or a negative size: one ERROR line,
    /// -1, buffer untouched.
    virtual int serialize(char* buffer, int size) = 0;

    /// Takes the value from the TLV element at `buffer` and returns the bytes it takes, 7 + the length it
    /// declares. Trusts the element: the caller has run checkBuffer on it, and has made sure that the
    /// buffer holds the declared bytes as well as the property's own width. Is no change to report.
    virtual int deserialize(const char* buffer) = 0;

    /// Number of value bytes on the wire.
    virtual unsigned int length() = 0;

    /// The LcmpTlvType of the value.
    virtual int getType() = 0;

    /// Whether the property would accept these value bytes in a write. Changes nothing. Base: true.
    virtual bool validValue(const char* value, int length);

    // Typed access. Each kind of property answers the pair of its own type; every other is refused: one
    // ERROR line "[%s] Not implemented for ...", neither the argument nor the value changes.
    //
    // 64-bit access is on `unsigned long long` and `long long`; cast where uint64_t is another type.
    virtual void get(unsigned long long* out);
    virtual void get(unsigned int* out);
    virtual void get(unsigned short* out);
    virtual void get(unsigned char* out);
    virtual void get(long long* out);
    virtual void get(int* out);
    virtual void get(short* out);
    virtual void get(signed char* out);
    virtual void get(bool* out);
    virtual void get(std::string* out);
    virtual void get(unsigned char* data, unsigned int* length);

    // Typed access: stores a value, and marks the change if it is one and the property reports changes; kinds
    // that mark otherwise say so. A value of another kind's type is refused as above.
    virtual void set(unsigned long long value);
    virtual void set(unsigned int value);
    virtual void set(unsigned short value);
    virtual void set(unsigned char value);
    virtual void set(long long value);
    virtual void set(int value);
    virtual void set(short value);
    virtual void set(signed char value);
    virtual void set(bool value);
    virtual void set(std::string value);
    virtual void set(unsigned char* data, unsigned int length);

    /// One line for people: id, name, value and default.
    virtual std::string str() const = 0;

    /// A text literal is text: set(std::string(text)). Null does nothing.
    void set(const char* text);

    /// The full OID: composed by the owner from id and row, or the id itself where there is no owner.
    unsigned int getOid() const { return m_oidKnown ? m_oid : composeOid(); }

    /// Whether a change waits to be reported; asking clears it.
    bool sendEvent();

    /// Judges the TLV element at `buffer` against this property and returns a result code, in this order:
    /// 7 wrong OID, 6 wrong type, 8 wrong length (not for text, whose length only the element knows), and
    /// with `checkValue` 10 read-only and 9 value refused by validValue. 0 when nothing is wrong. One ERROR
    /// line for each refusal but 10 (two for 8). The property is never changed. The caller has made sure
    /// that the whole element lies at `buffer`, and at least the property's own width behind its header.
    int checkBuffer(const char* buffer, bool checkValue);

    /// How many value bytes deserialize and validValue look at whatever an element declares: those that a
    /// fixed-width value or a MAC address has, 0 for other kinds.
    unsigned int readWidth();

    // What the property was made with, unchanged since.
    const std::string& getName() const { return m_name; }
    IfcCardVarAccessType getAccess() const { return m_access; }
    unsigned int getId() const { return m_id; }

    /// The row in the owner; 0 until addProp of an object has set it.
    unsigned int getRow() const { return m_row; }

    /// Whether changes are to be reported.
    bool isEventable() const { return m_eventable; }

    /// The object that holds the property, or null.
    LcmpObject* getOwner() const { return m_owner; }

    /// This property as a legacy one, or null when it is none.
    inline OldStyleProperty* asOldStyle();

protected:
    /// To be called by `set` of an own property class when the value changed: raises the flag that
    /// sendEvent reads, if the property is eventable.
    void markEvent();

    /// The beginning of every serialize: writes the header of an element with `length` value bytes and
    /// returns where they go; `size` has room for them. Otherwise null and one ERROR line, buffer untouched.
    char* startElement(char* buffer, int size, unsigned int length, int type) const;

    /// What startElement does when there is no room: one ERROR line, null.
    char* noRoom() const;

    // For the library's own kinds of fixed width, which keep their value here: a number in the low bits of
    // one word. An object that takes such a property in also notes how it travels, and from then on it is
    // written and judged without asking it.
    std::uint64_t word() const { return m_word; }
    void setWord(std::uint64_t word) { m_word = word; }

    /// Whether an object has noted how the word travels.
    bool travelsAsWord() const { return m_wordSize != 0; }

    /// Whether serializeWord can do what serialize is asked to do. It wants room for the widest word there
    /// is.
    bool canSerializeWord(int size) const { return m_wordSize != 0 && size >= widestElement; }

    /// Writes the whole element from the word and returns the bytes it takes. Up to seven zeros are stored
    /// behind them.
    int serializeWord(char* buffer) const;

    /// "  3 | <name in 40 columns> : ", the beginning of every property's line.
    std::string lineHead() const;

private:
    friend class LcmpObject;        // sets row, owner and how the word travels
    friend class LCMPMessage;       // writes words
    friend class OldStyleProperty;  // takes its id and row from an element, and can be copied

    LcmpProperty(const LcmpProperty&) = default;

    static constexpr int widestElement = 15;  // bytes of an element whose value is a word

    // What getType and length answer.
    int announcedType() { return m_wordSize != 0 ? m_wordType : getType(); }
    unsigned int announcedLength() { return m_wordSize != 0 ? m_wordSize : length(); }

    unsigned int composeOid() const;
    bool hasOid(unsigned int oid) const;
    bool hasSize(unsigned int announced);

    std::string m_name;
    IfcCardVarAccessType m_access;
    unsigned int m_id;
    unsigned int m_row = 0;
    bool m_eventable;
    bool m_eventPending = false;
    bool m_legacy = false;    // this is an OldStyleProperty
    bool m_oidKnown = false;  // the owner would always compose the same
    LcmpObject* m_owner = nullptr;
    unsigned int m_oid = 0;
    std::uint8_t m_wordType = 0;  // how the word travels;
    std::uint8_t m_wordSize = 0;  // 0 bytes: only the property itself knows
    std::uint64_t m_word = 0;
};
