// Byte sources of the XML runtime: a file, a piece of memory, a string.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace xrt {

// A source of bytes. read() gives one byte (0..255) or -1 at the end; read_block() hands out
// the next run of bytes at once, which is what the input layers use so that they pay one
// call per run rather than one per byte.
class c_read {
public:
    virtual bool is_open() const { return true; }
    virtual int read() = 0;
    virtual const char* get_source_id() const { return nullptr; }
    virtual void rewind() = 0;
    virtual ~c_read();

    // Points data at the next run of bytes and returns its length, 0 at the end. The run stays
    // valid until the next call of read, read_block or rewind. The base collects bytes
    // through read().
    virtual std::size_t read_block(const unsigned char*& data);

private:
    unsigned char m_block[256];
};

// Bytes of memory that the caller keeps alive; nothing is copied.
class c_read_memory : public c_read {
public:
    c_read_memory(const char* data, std::size_t size);
    int read() override;
    void rewind() override;
    std::size_t read_block(const unsigned char*& data) override;

protected:
    c_read_memory();
    void set_range(const char* data, std::size_t size);

private:
    const unsigned char* m_start = nullptr;
    const unsigned char* m_current = nullptr;
    const unsigned char* m_end = nullptr;
};

// Like c_read_memory over its own copy of a string.
class c_read_string : public c_read_memory {
public:
    explicit c_read_string(std::string text);
    c_read_string(const c_read_string&) = delete;
    c_read_string& operator=(const c_read_string&) = delete;

private:
    std::string m_text;
};

// A file read in blocks of 512 bytes. The file is closed on destruction unless
// leave_file_open_on_delete(true) was called.
class c_read_file : public c_read {
public:
    explicit c_read_file(const char* path);
    explicit c_read_file(const wchar_t* path);
    explicit c_read_file(std::FILE* file);  // the name stays empty
    ~c_read_file() override;
    c_read_file(const c_read_file&) = delete;
    c_read_file& operator=(const c_read_file&) = delete;

    bool is_open() const override { return m_file != nullptr; }
    int read() override;
    const char* get_source_id() const override { return m_name.c_str(); }
    void rewind() override;
    std::size_t read_block(const unsigned char*& data) override;

    void leave_file_open_on_delete(bool leave) { m_close_on_delete = !leave; }
    void close();

    static constexpr std::size_t buffer_size = 512;

private:
    bool fill();

    std::string m_name;
    bool m_close_on_delete = true;
    std::FILE* m_file = nullptr;
    unsigned char m_buffer[buffer_size];
    std::size_t m_fill = 0;
    std::size_t m_index = 0;
};

}  // namespace xrt
