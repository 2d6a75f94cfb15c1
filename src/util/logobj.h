/// \file
/// The report log: a text file opened once per object, written item by item,
/// flushed after each so that it is complete when the process dies.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <iosfwd>
#include <memory>

/// \brief The report log: a text file opened once per object, written item by
/// item, flushed after each so that it is complete when the process dies.
class SORVANE_API LogObj {
public:
    /// Opens the file for writing, emptied, and writes a time stamp. The
    /// process's first log restarts a file larger than the size limit with a
    /// line that says so. A null path, or a file that cannot be opened, makes a
    /// log that writes nothing.
    /// \param path the file.
    explicit LogObj(char const* path);
    ~LogObj();
    LogObj(LogObj const&) = delete;
    LogObj& operator=(LogObj const&) = delete;

    /// Sets the size limit of the first log's old file.
    /// \param kb the limit in kilobytes.
    static void _set_nMaxSizeKB(std::uint32_t kb) { nMaxSizeKB = kb; }
    /// \return the number of logs made by the process.
    static std::int16_t _get_nFileCount() { return nFileCount; }

    /// Writes a character.
    /// \param c the character.
    /// \return this log.
    LogObj& operator<<(char c);
    /// Writes a character.
    /// \param c the character.
    /// \return this log.
    LogObj& operator<<(signed char c);
    /// Writes a character.
    /// \param c the character.
    /// \return this log.
    LogObj& operator<<(unsigned char c);
    /// Writes a number in decimal.
    /// \param n the number.
    /// \return this log.
    LogObj& operator<<(short n);
    /// Writes a number in decimal.
    /// \param n the number.
    /// \return this log.
    LogObj& operator<<(unsigned short n);
    /// Writes a number in decimal.
    /// \param n the number.
    /// \return this log.
    LogObj& operator<<(int n);
    /// Writes a number in decimal.
    /// \param n the number.
    /// \return this log.
    LogObj& operator<<(unsigned int n);
    /// Writes a number in decimal.
    /// \param n the number.
    /// \return this log.
    LogObj& operator<<(long n);
    /// Writes a number in decimal.
    /// \param n the number.
    /// \return this log.
    LogObj& operator<<(unsigned long n);
    /// Writes a number.
    /// \param x the number.
    /// \return this log.
    LogObj& operator<<(float x);
    /// Writes a number.
    /// \param x the number.
    /// \return this log.
    LogObj& operator<<(double x);
    /// Writes a 0-terminated text.
    /// \param text the text.
    /// \return this log.
    LogObj& operator<<(unsigned char const* text);
    /// Writes a 0-terminated text.
    /// \param text the text.
    /// \return this log.
    LogObj& operator<<(char* text);
    /// Writes a 0-terminated text.
    /// \param text the text.
    /// \return this log.
    LogObj& operator<<(char const* text);

private:
    template <class T> LogObj& Put(T const& item);

    std::unique_ptr<std::ofstream> pStream;
    static std::int16_t nFileCount;
    static std::uint32_t nMaxSizeKB;
};
