// Files of the library: plain or gzip, read or written in one direction, behind one record.
//
// Every call takes a result slot and acts only while the slot is ok: the first failure holds, so a run of calls needs
// one test at the end. Only TVN_sysenv_fclose always acts. A gzip stream that ends too early is file_read, not an end
// of file. Names are UTF-8 and go to the system as they are; wide names are turned into it first. Reading costs one
// copy for small pieces and none for pieces of a block or more. zlib keeps its own tables outside the memory manager:
// it has no hook for them.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct sysfile;

enum class file_mode : int32_t { read, write, append };

// Null unless the file is open. A missing, unreadable or null name and a directory are file_open. Throws out_of_memory.
sysfile* TVN_sysenv_fopen(sysenv& sys, const char* name, file_mode mode, bool compressed, sys_code& result);
// The same under a name in wide characters; one that has no UTF-8 form is invalid_file_name.
sysfile* TVN_sysenv_wfopen(sysenv& sys, const wchar_t* name, file_mode mode, bool compressed, sys_code& result);
// A name in wide characters with its end mark. `wide` stands when the slot is not ok or the name is not valid UTF-8
// (invalid_file_name) or null (file_open). Throws out_of_memory.
void TVN_sysenv_utf8towchar(sysenv& sys, const char* name, buffer<wchar_t>& wide, sys_code& result);
// Closes and sets *file to null, whatever the slot holds; what could not be written at last is reported.
void TVN_sysenv_fclose(sysfile** file, sys_code& result) noexcept;

// Number of bytes read, less than size only at the end of the file and after a failure.
int64_t TVN_sysenv_fread(sysfile& file, void* to, int64_t size, sys_code& result) noexcept;
// One line with its newline, at most size - 1 characters; false when nothing was left.
bool TVN_sysenv_fgets(sysfile& file, char* line, int64_t size, sys_code& result) noexcept;
void TVN_sysenv_frewind(sysfile& file, sys_code& result) noexcept;

void TVN_sysenv_fwrite(sysfile& file, const void* from, int64_t size, sys_code& result) noexcept;
void TVN_sysenv_fputs(sysfile& file, const char* text, sys_code& result) noexcept;
void TVN_sysenv_fputss(sysfile& file, std::string_view text, sys_code& result) noexcept;
// Texts of any length. Throws out_of_memory for one above a kilobyte only.
void TVN_sysenv_fprintf(sysfile& file, sys_code& result, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
void TVN_sysenv_fflush(sysfile& file, sys_code& result) noexcept;

// Closes on leaving the scope, for readers and for the error paths of writers.
struct file_owner {
  sysfile* file = nullptr;
  file_owner() = default;
  explicit file_owner(sysfile* f) : file(f) {}
  file_owner(const file_owner&) = delete;
  file_owner& operator=(const file_owner&) = delete;
  ~file_owner() {
    sys_code ignored = sys_code::ok;
    if (file) TVN_sysenv_fclose(&file, ignored);
  }
};

} // namespace tvn
