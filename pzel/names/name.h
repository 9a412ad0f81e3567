// File names that do not repeat their folders, a working folder, and names for temporary files in it. Nothing
// here touches a file. The separator is the backslash, on every system.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pzel/export.h"

namespace Zel {

/// The name of a file: its own name and the number of its folder in a table that the whole library shares.
/// Folders are never taken out of the table; they are told apart letter by letter. Number 0 is no folder.
///
/// A file's name is a stem and, from its last dot on, an extension. A dot that leads the name starts no
/// extension. A value; folder numbers are of 32 bits.
class PZEL_API Name {
  public:
    /// No name, no folder.
    Name();
    /// As SetName.
    Name(const std::string& path);
    /// As SetName; null stands for "".
    Name(const char* path);
    Name(const Name& other);
    Name& operator=(const Name& other);
    ~Name();

    /// As after the default constructor.
    void Clear();

    /// Takes the name after the last backslash; the folder before it enters the table. Without a backslash
    /// the folder stays as it was (deliberate), also for "", which empties the name. The folder of "\name" is
    /// none.
    void SetName(std::string path);
    /// The file's own name, without folder.
    std::string GetName() const;
    /// Folder, backslash and name; the bare name without a folder.
    std::string GetFullPath() const;

    /// The name to show instead of the file's; "" unsets it.
    void SetLogicalName(const std::string& logical);
    /// The logical name when one is set, else the stem. An object with neither is called "Untitled" (the
    /// first in the library) or "Untitled_" and a number, from 1 on, and keeps that until it is cleared.
    std::string GetLogicalName();

    /// Replaces what stands before the extension.
    void SetStemName(std::string stem);
    std::string GetStemName() const;
    /// With or without its dot; "" removes extension and dot. An empty name stays empty.
    void SetExtension(std::string extension);
    /// Without its dot; "" when there is none.
    std::string GetExtension() const;

    /// The number of the folder.
    long GetID() const;
    /// Any number: those of no folder stand for "".
    void SetID(long number);

    /// True when there is no name, whatever the folder.
    bool operator!() const;
    /// Null when there is no name; else not null, and good for nothing else.
    operator const void*() const;
    /// Same folder and same name; logical names do not count.
    bool operator==(const Name& other) const;

    /// The number of a folder, or 0 when it is not in the table.
    static long GetIDFromPath(std::string path);
    /// The folder as it was entered; "" for an unknown number.
    static std::string GetPathFromID(long number);

    /// Where temporary files go, with or without a backslash at the end.
    static void SetWorkingFolder(std::string path);
    /// A new name in the working folder, "~ZLQ1.tmp" and so on; never the same twice.
    static std::string GenerateTemporaryFilename();
    /// All of them, oldest first. Library-wide; grows with the next one: only while no other thread makes
    /// one.
    static const std::vector<std::string>& GetTemporaryFilenames();

  private:
    static long AddToFolderList(std::string path);
    std::size_t ExtensionStart() const;

    std::string name;
    std::int32_t id = 0;
    std::string logicalName;
    std::string untitledName;  // once it was asked for
};

}  // namespace Zel
