// The settings of a plug-in: a growable list of named, typed values with their limits. A host builds it,
// shows and changes the values by name, and passes it on.
#pragma once

#include <memory>

#include "pzel/export.h"
#include "pzel/image/image.h"

/// What a parameter holds. A boolean is an integer with the limits 0 and 1 (deliberate).
enum ParameterType : int {
    ParamInt = 6,       ///< AnyType::int32
    ParamFloat = 8,     ///< AnyType::float32
    ParamString = 9,    ///< a text
    ParamStrList = 10,  ///< one of several texts, by index
    ParamIntList = 11,  ///< one of several integers, by index
};

/// A list of parameters. Copies share their records: what ChangeParameter does to one shows in the other,
/// until one of them needs an array of its own, because the array is full or because the other has used the
/// free record after its last. It then goes on with copies, and the other keeps what it had. The records go
/// with the last list that uses them.
///
/// Copies that share are one object to threads.
///
/// Names, texts and lists that are passed in are copied; a null text stands for "". Pointers that are handed
/// out stay the list's and are valid until it is changed, assigned to or destroyed.
class PZEL_API PluginParam {
  public:
    /// An empty list with room for `capacity` parameters, at least one.
    explicit PluginParam(short capacity);
    PluginParam(const PluginParam& other);
    PluginParam& operator=(const PluginParam& other);
    ~PluginParam();

    /// Appends a number with its limits; the value is clamped to them when minimum < maximum (not-a-number to
    /// the minimum). Values of other type codes are stored as they are. For texts and lists use the functions
    /// below: here they start empty, and value and limits are zero. A list of 32767 parameters takes no more.
    void AddParameter(const char* name, ParameterType type, AnyType value, AnyType minimum, AnyType maximum);
    void AddBoolParam(const char* name, bool value);
    void AddIntParam(const char* name, int value, int minimum, int maximum);
    void AddFloatParam(const char* name, float value, float minimum, float maximum);
    void AddStringParam(const char* name, const char* value);
    /// `list` has `length` entries (null, or a length below 1: none). The index is brought into the list.
    void AddStrListParam(const char* name, const char* const* list, int length, int index);
    void AddIntListParam(const char* name, const int* list, int length, int index);

    /// Changes the first parameter whose name matches `name`: a space there also stands for '_' in the name,
    /// and a ':' ends it. `type` is a ParameterType and must be the parameter's, or nothing changes. `data`
    /// is an int (numbers and booleans; the index, for lists), a float or a NUL-terminated text. Numbers are
    /// clamped as in AddParameter. An index outside a list, or null, changes nothing.
    void ChangeParameter(const char* name, char type, const void* data);
    /// The same with the value as text. For a list it is the text of an entry or else an index. Numbers are
    /// read as far as they go, 0 when they do not start as one.
    void ChangeParameter(const char* name, char type, const char* text);

    int NumbOfParameters() const;
    /// Stores the number of parameters, 0 … the number of records there is room for. Nothing is freed or
    /// emptied; records never filled have the name "" and zeroes.
    void SetCurrentParamNumber(int n);

    // One parameter; i is not checked.

    /// The record's own name.
    char* name(int i) const;
    ParameterType type(int i) const;
    /// The number; the index, for lists; 0, for a text.
    AnyType value(int i) const;
    /// The lower limit of a number; the length of a list; 0, for a text.
    AnyType minimum(int i) const;
    /// The upper limit of a number; the index, for lists; 0, for a text.
    AnyType maximum(int i) const;
    /// The text, or null for other types.
    const char* text(int i) const;
    /// The entries of a list of texts, or null for other types and empty lists.
    const char* const* strings(int i) const;
    /// The entries of a list of integers, or null for other types and empty lists.
    const int* ints(int i) const;

  private:
    struct Parameter;
    struct Records;

    static int Compare(const char* name, const char* key);
    static void SetValue(Parameter* record, AnyType value, AnyType minimum, AnyType maximum);
    static void SetValue(Parameter* record, char type, AnyType value);
    Parameter& At(int i) const;
    Parameter* Find(const char* key) const;
    void MakeRoom();
    void Append(Parameter record, AnyType value, AnyType minimum, AnyType maximum);

    short count;
    short capacity;
    std::shared_ptr<Records> records;  // never null
};
