// ASN1CTime, the object view on a time's text in a value record. The text is parsed at the first
// read, and compiled anew after each change, on the type heap or into the caller's array. Getters
// answer the field or, when the text can't be parsed, the negative status; setters answer 0 or a
// status. -31 stands for everything that is malformed or out of range.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/control.h>
#include <chronoseal/asn1rt/time_value.h>
#include <chronoseal/visibility.h>

// The order of the virtual operations is given.
class CHRONOSEAL_API ASN1CTime : public ASN1CType {
public:
    virtual int getYear();
    virtual int getMonth();
    virtual int getDay();
    virtual int getHour();
    virtual int getMinute();
    virtual int getSecond();
    virtual int getFraction(); // the digits behind the point, read as one number
    virtual int getDiffHour();
    virtual int getDiffMinute();
    virtual int getDiff(); // offset from UTC in minutes
    virtual int getUTC();  // 1 when the time ends in "Z"
    // mktime of the fields, that is, read as local time of this machine, plus the offset in
    // seconds.
    virtual long getTime();

    virtual int setUTC(unsigned char value);
    virtual int setYear(int value);
    virtual int setMonth(int value);
    // A day below 1 is taken, and leaves the date without a day: no text is compiled.
    virtual int setDay(int value);
    virtual int setHour(int value);
    virtual int setMinute(int value);
    virtual int setSecond(int value);
    virtual int setFraction(int value);
    // The fields from seconds since 1970: in UTC, or with `diffTime`, unless the time is of the UTC
    // form, in this machine's local time with its offset.
    virtual int setTime(long time, unsigned char diffTime) = 0;
    virtual int setDiffHour(int value);
    // The minutes take the sign of the hours.
    virtual int setDiff(int hours, int minutes);
    virtual int setDiff(int minutes);

    // Takes the fields from this text, which is not kept.
    virtual int parseString(const char* text) = 0;
    // Unsets all fields, so that they can be set one by one whatever the text was. The text stays.
    virtual void clear();

    // Compare points in time, offsets counted. A time that can't be parsed or has unset fields
    // equals nothing and is neither before nor after anything.
    virtual bool equals(ASN1CTime& other);
    virtual bool operator==(ASN1CTime& other);
    virtual bool operator!=(ASN1CTime& other);
    virtual bool operator>(ASN1CTime& other);
    virtual bool operator<(ASN1CTime& other);
    virtual bool operator>=(ASN1CTime& other);
    virtual bool operator<=(ASN1CTime& other);

    // Writes the fields to the text. Setters do this by themselves as soon as year, month, day and
    // hour are set; before that it is -31.
    virtual int compileString() = 0;

    // The text's length without terminator, and a copy of it; null if `size` isn't larger than
    // that. Nothing is read behind a fixed array: a text that fills it is as long as the array, and
    // no time.
    int getTimeStringLen() const;
    char* getTimeString(char* out, int size) const;

protected:
    static constexpr short kUnset = -3;

    // `text` is the value record's pointer. With a size it points to an array of that many
    // characters.
    ASN1CTime(ASN1MessageBufferIF& buffer, char*& text, int size, unsigned char der);
    ASN1CTime(ASN1MessageBufferIF& buffer, const char*& text, unsigned char der);
    ASN1CTime(ASN1Context& sharedContext, char*& text, int size, unsigned char der);
    ASN1CTime(ASN1Context& sharedContext, const char*& text, unsigned char der);
    ASN1CTime(char*& text, int size, unsigned char der);
    ASN1CTime(const char*& text, unsigned char der);

    // A date and a time of day without an offset.
    struct Fields {
        int year;
        int month;
        int day;
        int hour;
        int minute;
        int second;
        int fraction;
    };

    // True also when `day` or `month` is below 1, that is, not set yet. In an unset year February
    // has 29 days.
    static bool checkDate(int day, int month, int year);
    // Days since the first of January of the year 1.
    static std::int64_t getDaysNum(int year, int month, int day);
    static std::int64_t getMillisNum(const Fields& fields);
    static void addDays(std::int64_t days, int& year, int& month, int& day);
    static void addMilliseconds(std::int64_t millis, Fields& fields);

    int fail(int status);
    int ensure_parsed();
    bool is_complete() const;
    void load(const ASN1DateTime& time);
    // What a setter ends with.
    int changed();
    // The fields as they are written; in UTC if `in_utc`. False when that isn't a date any more.
    bool written_fields(bool in_utc, Fields& fields) const;
    int fill_from_time(long time, unsigned char diffTime);
    int store_text(const char* made);

    short year = kUnset;
    short month = kUnset;
    short day = kUnset;
    short hour = kUnset;
    short minute = 0;
    short second = 0;
    short diffHour = 0;
    short diffMinute = 0;
    int fraction = 0;
    bool utc;
    bool parsed = false;
    bool derRules; // the text is always written in UTC, with "Z"
    const char** timeStr;
    int strSize; // capacity of a fixed text, 0 for a dynamic one

private:
    int get(short ASN1CTime::*field);
    int set(short ASN1CTime::*field, int value, int lowest, int highest);
    // Milliseconds from the year 1 in UTC. False when there is no such time.
    bool instant(std::int64_t& millis);
};
