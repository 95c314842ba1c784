// SPDX-License-Identifier: Apache-2.0
// What the tests of object listing share.
#pragma once

#include "tests/p11/wrapper_test.h"

#include <functional>
#include <ostream>
#include <sstream>
#include <vector>

inline bool operator==(const ObjectAttr& left, const ObjectAttr& right)
{
    return left.type == right.type && left.label == right.label && left.id == right.id && left.keyType == right.keyType;
}

inline std::ostream& operator<<(std::ostream& stream, const ObjectAttr& record)
{
    return stream << record.type << '/' << record.label << '/' << record.id << '/' << record.keyType;
}

namespace scripted {

using Records = std::vector<ObjectAttr>;

[[nodiscard]] inline std::string textOf(const Records& records)
{
    std::ostringstream text;
    for (const ObjectAttr& record : records)
        text << record << ' ';
    return text.str();
}

inline const std::string everything = "null [0]"; // the template of a search for all objects
inline const std::string lengthQuery =
    "{CKA_CLASS null [0], CKA_ID null [0], CKA_LABEL null [0], CKA_KEY_TYPE null [0]}";

[[nodiscard]] inline std::string read(CK_OBJECT_HANDLE object, const std::string& query)
{
    return "C_GetAttributeValue(session 41, object " + std::to_string(object) + ", " + query + ")";
}

class ObjectListingTest : public WrapperTest {
protected:
    std::string list()
    {
        return story([&] { rv = token.ListObjects(slotId, pin.data(), pin.size(), records); });
    }

    /// The record of the only object.
    [[nodiscard]] ObjectAttr listed(Object object)
    {
        module.add(std::move(object));
        list();
        EXPECT_CKR(rv, CKR_OK);
        EXPECT_EQ(records.size(), 1);
        return records.empty() ? ObjectAttr{"no record", "", "", ""} : records[0];
    }

    /// Changes what the second read of the only object delivers.
    void afterSecondRead(std::function<void(CK_ATTRIBUTE*)> change)
    {
        module.C_GetAttributeValue = [read = module.C_GetAttributeValue, change](auto session, auto object,
                                                                                 CK_ATTRIBUTE* query, auto count) {
            const CK_RV code = read(session, object, query, count);
            if (query[0].pValue != nullptr)
                change(query);
            return code;
        };
    }

    Records records;
};

} // namespace scripted
