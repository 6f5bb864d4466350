#pragma once

#include "database/connection.h"
#include "keystone/byte_writer.h"
#include "registry/request_reader.h"

/// What operators' commands share with one another and with other modules, one subject per source file.
class WorkingAdmCommands
{
public:
    /// Writes the tree that `idConnect` may watch, or the whole tree for an account below 1. (object_tree.cpp)
    static void GetObjectTree(int idConnect, database::Connection &db, keystone::ByteWriter &out);

    /// Writes the objects of the account's setup whose properties hold the text that `in` gives. (object_search.cpp)
    static void AdvancedSearch(int idConnect, database::Connection &db, registry::RequestReader &in,
                               keystone::ByteWriter &out);

    /// Writes the setup of one operator: for type 1 the sections 1, 3 and 4 over objects, for type 2 the section 2 over
    /// layers, for any other type nothing. (personal_setup.cpp)
    static void GetPersonalSetup(int type, int idConnect, database::Connection &db, keystone::ByteWriter &out);

    /// Switches properties off and on for a set of objects. (personal_setup.cpp)
    static void FixPersonalSetup(registry::RequestReader &in, database::Connection &db);

    /// Replaces one section of other operators' setups by one operator's. (personal_setup.cpp)
    static void CopyPersonalSetup(registry::RequestReader &in, database::Connection &db);
};
