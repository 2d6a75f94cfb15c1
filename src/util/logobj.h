// The report log: a text file opened once per object, written item by item,
// flushed after each so that it is complete when the process dies.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <iosfwd>
#include <memory>

class SORVANE_API LogObj {
public:
    explicit LogObj(char const* path);
    ~LogObj();
    LogObj(LogObj const&) = delete;
    LogObj& operator=(LogObj const&) = delete;

    static void _set_nMaxSizeKB(std::uint32_t kb) { nMaxSizeKB = kb; }
    static std::int16_t _get_nFileCount() { return nFileCount; }

    LogObj& operator<<(char c);
    LogObj& operator<<(signed char c);
    LogObj& operator<<(unsigned char c);
    LogObj& operator<<(short n);
    LogObj& operator<<(unsigned short n);
    LogObj& operator<<(int n);
    LogObj& operator<<(unsigned int n);
    LogObj& operator<<(long n);
    LogObj& operator<<(unsigned long n);
    LogObj& operator<<(float x);
    LogObj& operator<<(double x);
    LogObj& operator<<(unsigned char const* text);
    LogObj& operator<<(char* text);
    LogObj& operator<<(char const* text);

private:
    template <class T> LogObj& Put(T const& item);

    std::unique_ptr<std::ofstream> pStream;
    static std::int16_t nFileCount;
    static std::uint32_t nMaxSizeKB;
};
