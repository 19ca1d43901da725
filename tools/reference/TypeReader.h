// What a type library says, as plain values.
#pragma once

#include <string>
#include <vector>

#include "kvcore/Ptr.h"

namespace mova::reference {

struct Parameter {
    std::string direction;  ///< "in", "out", "in, out", "out, retval"
    std::string type;
    std::string name;
};
struct Operation {
    std::string kind;  ///< "get", "put", or empty for a method
    std::string name;
    std::vector<Parameter> parameters;
    std::string help;
};
struct Interface {
    std::string name;
    std::string id;
    std::string base;
    std::string help;
    bool isForAutomation = false;
    std::vector<Operation> operations;  ///< its own, in the order of their slots
};
struct Class {
    std::string name;
    std::string id;
    std::string help;
    std::vector<std::string> interfaces;  ///< the main one first
};
struct Enumeration {
    std::string name;
    std::string help;
    std::vector<std::pair<std::string, long>> values;
};
struct Structure {
    std::string name;
    std::string help;
    std::vector<std::pair<std::string, std::string>> fields;  ///< their types and names
};
struct Library {
    std::string name;
    std::string id;
    std::vector<Class> classes;
    std::vector<Interface> interfaces;
    std::vector<Enumeration> enumerations;
    std::vector<Structure> structures;
};

/// Each list in the order of its names. @throw std::runtime_error where the file has no type library
Library ReadLibrary(const std::u16string& file);

}  // namespace mova::reference
