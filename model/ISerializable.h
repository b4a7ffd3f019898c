// SPDX-License-Identifier: Apache-2.0
#pragma once

class File;

// Writes and reads a record at the file's current position. Both return true;
// an error of the file passes through, and Deserialize raises InputPastEnd
// when the file ends inside the record.
class ISerializable {
public:
    virtual ~ISerializable() = default;
    virtual bool Serialize(File &file) const = 0;
    virtual bool Deserialize(File &file) = 0;
};
