// Names of the message numbers the library reports.
//
// Every error or warning the library files carries a number of set 1 of
// its message catalog (foundation/messages.msg holds the English texts).
// Code names the number here once and uses the name everywhere else, so
// that a reader sees what a report means without opening the catalog. The
// values are part of the library's interface: drivers and their users
// match on them, so a value never changes once published.
//
// Each comment gives the meaning of the message and, in parentheses, what
// the reporter streams into its markers.
#ifndef VX_FOUNDATION_VXMSGNUM_H_
#define VX_FOUNDATION_VXMSGNUM_H_

#include <cstdint>

// The XML result-set writer.
constexpr uint16_t kErrXmlWriteFailed = 1018;         // a document could not be written
constexpr uint16_t kErrXmlUnsupportedType = 1023;     // column type has no XML form (+ name)
constexpr uint16_t kErrXmlColumnNotDeclared = 1024;   // declaration not written (+ name)

// Files, directories and the operating system.
constexpr uint16_t kErrCannotDelete = 1502;           // file could not be deleted (name)
constexpr uint16_t kErrOutOfMemory = 1503;            // out of memory
constexpr uint16_t kErrCannotChangeDirectory = 1504;  // working directory not changed (path)
constexpr uint16_t kErrCannotOpen = 1505;             // file could not be opened (name)
constexpr uint16_t kErrDiskFull = 1506;               // nothing could be written (name)
constexpr uint16_t kErrInvalidFileHandle = 1507;      // invalid file handle
constexpr uint16_t kErrAccessDenied = 1508;           // access denied or read past end (name)
constexpr uint16_t kErrFileNotFound = 1509;           // file not found (name)
constexpr uint16_t kErrResourceLocked = 1512;         // temporarily unavailable or locked
constexpr uint16_t kErrNoLocksAvailable = 1514;       // no file locks are available
constexpr uint16_t kErrNotPermitted = 1519;           // operation not permitted (name)
constexpr uint16_t kErrFileExists = 1520;             // file already exists (name)
constexpr uint16_t kErrDeadlock = 1521;               // locking would deadlock (name)
constexpr uint16_t kErrCannotLoadLibrary = 1523;      // library not loaded (path, loader text)
constexpr uint16_t kErrNameTooLong = 1524;            // file name too long (name)

// Temporary files and the runs of the sort.
constexpr uint16_t kErrFileNotRead = 1510;            // a file could not be read (name)
constexpr uint16_t kErrInvalidParameterValue = 2709;  // a size or option cannot be used (what)
constexpr uint16_t kErrSortWrite = 2711;              // the sort could not write its temporary file
constexpr uint16_t kErrSortRead = 2712;               // the sort could not read its temporary file
constexpr uint16_t kErrSortNotInMemory = 2713;        // the records do not fit in the sort's buffers
constexpr uint16_t kErrTempFileNotCreated = 2714;     // temporary file not created (name)
constexpr uint16_t kErrTempFileFull = 2715;           // a temporary store passed its 128 MB span

// Values, connection strings, hexadecimal text, sorting and strings.
constexpr uint16_t kErrNumberOutOfRange = 2701;       // number out of range (text)
constexpr uint16_t kErrInvalidCharacter = 2702;       // number holds an invalid character (text)
constexpr uint16_t kErrConnectionStringSyntax = 2704; // syntax error (position)
constexpr uint16_t kErrSyntaxInSource = 2705;         // syntax error (position, source name)
constexpr uint16_t kErrRepeatedKeyword = 2706;        // appended text: keyword repeated
constexpr uint16_t kErrBothSynonyms = 2707;           // appended text: both synonyms given
constexpr uint16_t kErrInvalidHexDigit = 2708;        // invalid hexadecimal digit
constexpr uint16_t kErrTooManySortKeys = 2710;        // more than 64 sort keys
constexpr uint16_t kErrStringCannotGrow = 2716;       // string buffer belongs to the caller

// Code-page conversion.
constexpr uint16_t kErrRightTruncated = 4;            // string data right truncated (appended text)
constexpr uint16_t kErrConversionTruncated = 2735;    // converted text cut to the output's size
constexpr uint16_t kErrCharacterSubstituted = 2736;   // a character had no mapping and was replaced
constexpr uint16_t kErrConversionFailed = 2737;       // the conversion failed
constexpr uint16_t kErrConversionTableInvalid = 2738; // the conversion table is not valid
constexpr uint16_t kErrConverterNotFound = 2739;      // no converter (appended: number or name)
// Network transport; every record carries SQLSTATE "08S01".
constexpr uint16_t kErrNetwork = 7500;                // network failure (appended: error number)
constexpr uint16_t kErrNetTimeout = 7501;             // network operation timed out
constexpr uint16_t kErrNetSecondTimeout = 7502;       // read timed out a second time
constexpr uint16_t kErrConnectionLost = 7503;         // connection lost or not open
constexpr uint16_t kErrNetRefused = 7504;             // operation refused by the server
constexpr uint16_t kErrCannotConnect = 7505;          // connection could not be opened
constexpr uint16_t kErrBadNetAddress = 7506;          // address not valid (address)
constexpr uint16_t kErrHostNotFound = 7507;           // host not found (host)
constexpr uint16_t kErrNoNetAddress = 7508;           // no address given
constexpr uint16_t kErrSecureConnection = 7509;       // secure connection failed (reason)

// The CSV driver (drivers/csv); each record carries the SQLSTATE named.
constexpr uint16_t kErrCsvTableNotFound = 7600;       // 42S02: table not found (name)
constexpr uint16_t kErrCsvColumnNotFound = 7601;      // 42S22: column not found (name)
constexpr uint16_t kErrCsvSyntax = 7602;              // 42000: syntax error (token, expected)
constexpr uint16_t kErrCsvBadRecord = 7603;           // HY000: malformed record (line, file, reason)
constexpr uint16_t kErrCsvBadValue = 7604;            // 22018: value does not fit (value, line, file, column)
constexpr uint16_t kErrCsvBadHeader = 7605;           // HY000: header not valid (file, reason)
constexpr uint16_t kErrCsvNoDataSource = 7606;        // IM002: data source has no directory (name)
constexpr uint16_t kErrCsvTypeMismatch = 7607;        // 22018: operands cannot be compared (left, right)
constexpr uint16_t kErrCsvBadColumnNumber = 7608;     // 07009: column number not valid (number)
constexpr uint16_t kErrCsvNoCursor = 7609;            // 24000: no result set is open
constexpr uint16_t kErrCsvSequence = 7610;            // HY010: function called out of sequence
constexpr uint16_t kErrCsvNotSupported = 7611;        // HYC00: optional feature not implemented (what)
constexpr uint16_t kErrCsvTruncated = 7612;           // 01004: string data right truncated
constexpr uint16_t kErrCsvNullNoIndicator = 7613;     // 22002: NULL value without an indicator
constexpr uint16_t kErrCsvUnsupportedType = 7614;     // HY003: C type not supported (type)
constexpr uint16_t kErrCsvValueCount = 7615;          // 21S01: values and columns differ in number
constexpr uint16_t kErrCsvNullNotAllowed = 7616;      // 23000: NULL into a column without NULL (column)
constexpr uint16_t kErrCsvValueDoesNotFit = 7617;     // 22018: value does not fit its column (value, column)
constexpr uint16_t kErrCsvParameterNotBound = 7618;   // 07002: parameter marker without a value (number)
// The CSV driver's query engine.
constexpr uint16_t kErrCsvBadDateTime = 7620;         // 22007: date or time literal not valid (literal)
constexpr uint16_t kErrCsvUnknownFunction = 7621;     // 42000: scalar function not supported (name, arguments)
constexpr uint16_t kErrCsvDivisionByZero = 7622;      // 22012: division by zero
constexpr uint16_t kErrCsvNotGrouped = 7623;          // 42000: column neither grouped nor aggregated (name)
constexpr uint16_t kErrCsvMisplacedAggregate = 7624;  // 42000: aggregate where none is allowed (where)
constexpr uint16_t kErrCsvBadOrderPosition = 7625;    // 42000: ORDER BY position out of range (number)
// The CSV driver's code pages and attributes.
constexpr uint16_t kErrCsvCannotConvert = 7640;       // 22021: text does not convert (what, code page)
constexpr uint16_t kErrCsvUnknownCodePage = 7641;     // HY024: code page not known (number)
constexpr uint16_t kErrCsvXmlNotWritten = 7642;       // HY000: result set not saved as XML (path, reason)
constexpr uint16_t kErrCsvBadAttribute = 7643;        // HY092: attribute or value not valid (number)

// Operating-system messages in the 30000 range.
constexpr uint16_t kErrAccessDeniedByName = 30040;    // access denied (name)
constexpr uint16_t kErrSystemError = 30041;           // unmapped operating system error
constexpr uint16_t kErrCannotRename = 30042;          // rename failed (old name, new name)
constexpr uint16_t kErrTooManyOpenFiles = 30045;      // too many files are open
constexpr uint16_t kErrReadOnlyFileSystem = 30049;    // file system is read-only (name)
// Not a report of its own: a printf format with two %s, the system's error
// text and the name, whose result is appended to kErrSystemError.
constexpr uint16_t kErrSystemTextAndNameFormat = 30050;
constexpr uint16_t kErrOutOfMemoryRecord = 30190;     // number of the static memory record

#endif  // VX_FOUNDATION_VXMSGNUM_H_
