/// The ini stand-in's room for files: one ini file in memory, read from and written to the disk.
#pragma once

#include <optional>
#include <string>

#define SI_NO_CONVERSION  // bytes stay as they are
#include <SimpleIni.h>

namespace provider::ini {

/// An ini file as it was when the object was made. Comments and order survive a save.
///
/// Sections and keys are found without regard to case. A value is any text without a line break:
/// one that begins or ends with a blank, or that is quoted itself, is kept between double quotes,
/// which reading takes off again.
class IniFile {
  public:
    /// An absent file is an empty one.
    explicit IniFile(const char* path);

    bool exists() const { return exists_; }
    std::optional<std::string> get(const char* section, const char* key) const;
    /// False when section, key or value cannot stand in an ini file.
    bool set(const char* section, const char* key, const std::string& value);
    void remove(const char* section);

    /// Replaces the file in one step: a reader sees the old content or the new one, whatever
    /// happens to this process. False when it cannot be written.
    bool save() const;

  private:
    std::string path_;
    bool exists_ = false;
    bool unreadable_ = false;  // there, but its content is not known: it must not be replaced
    CSimpleIniA content_;
};

/// Whether a bit of a bitmap is set.
bool is_bit_set(const char* path, const char* section, const char* key, int bit);

}  // namespace provider::ini
