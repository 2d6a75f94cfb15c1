#include <util/logobj.h>

#include <ctime>
#include <fstream>

std::int16_t LogObj::nFileCount = 0;
std::uint32_t LogObj::nMaxSizeKB = 0;

LogObj::LogObj(char const* path) {
    std::time_t const now = std::time(nullptr);
    char const* timeText = std::ctime(&now); // ends in its own line break
    ++nFileCount;
    pStream = std::make_unique<std::ofstream>();
    if (path == nullptr) {
        pStream->setstate(std::ios::badbit);
        return;
    }

    // Only the process's first log looks at the old file's size. Either way
    // the open for writing below empties it: the restart line is short-lived,
    // and a report path keeps the latest run only.
    if (nFileCount == 1) {
        std::ifstream old(path, std::ios::binary | std::ios::ate);
        std::streamoff const available = old ? static_cast<std::streamoff>(old.tellg()) : 0;
        old.close();
        if (available > static_cast<std::streamoff>(nMaxSizeKB) * 1024) {
            std::ofstream restart(path);
            restart << "Log File erased and restarted " << timeText;
        }
    }
    pStream->open(path);
    *this << "\nSystem Time Stamp " << timeText << "\n";
}

LogObj::~LogObj() = default;

template <class T> LogObj& LogObj::Put(T const& item) {
    if (pStream->bad()) return *this;
    *pStream << item;
    pStream->flush();
    return *this;
}

LogObj& LogObj::operator<<(char c) {
    return Put(c);
}
LogObj& LogObj::operator<<(signed char c) {
    return Put(c);
}
LogObj& LogObj::operator<<(unsigned char c) {
    return Put(c);
}
LogObj& LogObj::operator<<(short n) {
    return Put(n);
}
LogObj& LogObj::operator<<(unsigned short n) {
    return Put(n);
}
LogObj& LogObj::operator<<(int n) {
    return Put(n);
}
LogObj& LogObj::operator<<(unsigned int n) {
    return Put(n);
}
LogObj& LogObj::operator<<(long n) {
    return Put(n);
}
LogObj& LogObj::operator<<(unsigned long n) {
    return Put(n);
}
LogObj& LogObj::operator<<(float x) {
    return Put(x);
}
LogObj& LogObj::operator<<(double x) {
    return Put(x);
}
LogObj& LogObj::operator<<(unsigned char const* text) {
    return *this << reinterpret_cast<char const*>(text);
}
LogObj& LogObj::operator<<(char* text) {
    return *this << static_cast<char const*>(text);
}
LogObj& LogObj::operator<<(char const* text) {
    // A null text would be undefined for the stream; it writes nothing.
    return text != nullptr ? Put(text) : *this;
}
