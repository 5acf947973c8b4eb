/* The XML result-set writer's calling interface (C).
 *
 * A driver saves a result set as an XML document: an XML Schema description
 * of the columns, then one `record` element per row. The calls come in this
 * order: XPstCreate, XPstDescribeColumns once, XPstAppendRowData once per
 * row, then XPstClose (the document is written) or XPstCancel (nothing is
 * written), and XPstFree. A thread brackets its use of the writer with
 * XPstInit and XPstTerminate.
 *
 * Documents. Without a schema path the output is one file, whose root
 * `table` holds the schema and then `data` with the records. With a schema
 * path the schema goes to that file and the output holds a root `table`
 * with the records directly, naming the schema file in its
 * xsi:schemaLocation. Both are UTF-8. The writer's own namespace is
 * XPST_RECORDSET_NAMESPACE.
 *
 * Columns and values. A column is described by its ODBC SQL type (SQL_CHAR,
 * SQL_INTEGER, SQL_TYPE_TIMESTAMP, ...; the numbers of <sql.h>), its size
 * and scale, nullability and signedness, and the ODBC C type of the buffer
 * the driver hands over for it (SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BIT,
 * SQL_C_STINYINT ... SQL_C_UBIGINT, SQL_C_FLOAT, SQL_C_DOUBLE, SQL_C_BINARY,
 * SQL_C_TYPE_DATE, SQL_C_TYPE_TIME, SQL_C_TYPE_TIMESTAMP and their older
 * SQL_C_DATE forms). A row is one buffer pointer and one length/indicator
 * per column, as ODBC binds them: SQL_NULL_DATA (-1) for NULL, SQL_NTS (-3)
 * for NUL-terminated text, otherwise the byte length of character and binary
 * data (ignored for fixed-size types).
 *
 * Value forms: BIT "true"/"false"; dates "YYYY-MM-DD", times "hh:mm:ss",
 * time stamps "YYYY-MM-DDThh:mm:ss" (no fractions of a second); numbers in
 * decimal (a double in its shortest exact form); binary data in upper-case
 * hexadecimal (the schema's encoding facet says "hex"); character data
 * converted to UTF-8 from the code page given to XPstCreate (SQL_C_CHAR) or
 * from UTF-16 (SQL_C_WCHAR) and escaped. A NULL value is an omitted element:
 * every nullable column is declared with minOccurs "0". Column names become
 * element names: characters other than ASCII letters, digits, "_", "-" and
 * "." become "_", and a name that does not start with a letter or "_"
 * gets a "_" in front.
 *
 * Nothing is left behind by a failed or cancelled document: the output is
 * built under a temporary name next to the output file and renamed into
 * place only when XPstClose has written all of it. The files are created
 * readable and writable by their owner only (mode 0600); an existing file
 * at an output path is replaced.
 *
 * Errors. Every call but XPstFree returns 0 for success and 1 for failure
 * (XPstCreate: a writer, or null when memory is short). Errors collect in
 * the writer until XPstResetErrors; XPstGetErrorMessage reads them: 1018
 * the document could not be written (the writer then refuses every further
 * row), 1023 a column's SQL or C type cannot be written (the column is left
 * out), 1024 a column declaration could not be written (its name appended),
 * 2709 an invalid argument, 2739 an unknown code page, and the file
 * layer's errors (1509, 1519, ...) for the output files. After a failure
 * only XPstCancel, XPstFree and the error calls are useful.
 *
 * A null writer makes every call return 1 (XPstFree: nothing).
 *
 * Threads: a writer is used by one thread at a time; different writers may
 * be used by different threads at once.
 *
 * A complete example (error checks shortened):
 *
 *   #include <sqlext.h>
 *   #include "xml/XPst.h"
 *
 *   int saveOrders(void) {
 *     XML_PERSIST_COL_DESC columns[3] = {
 *         {"ID", SQL_INTEGER, 10, 0, SQL_NO_NULLS, 0, SQL_C_SLONG},
 *         {"CUSTOMER", SQL_VARCHAR, 20, 0, SQL_NULLABLE, 0, SQL_C_CHAR},
 *         {"PLACED", SQL_TYPE_DATE, 10, 0, SQL_NULLABLE, 0, SQL_C_TYPE_DATE}};
 *     SQLINTEGER id = 1;
 *     char customer[21] = "Smith & Sons";
 *     DATE_STRUCT placed = {2024, 3, 9};
 *     const void* row[3] = {&id, customer, &placed};
 *     int64_t lengths[3] = {0, SQL_NTS, 0};
 *     char text[512];
 *     uint16_t number = 0;
 *     XPstWriter* writer;
 *
 *     if (XPstInit() != 0) return 1;
 *     writer = XPstCreate("orders.xml", NULL, "ISO-8859-1");
 *     if (writer == NULL) { XPstTerminate(); return 1; }
 *     if (XPstDescribeColumns(writer, columns, 3) == 0) {
 *       XPstAppendRowData(writer, row, lengths);  // <CUSTOMER>Smith &amp; Sons</CUSTOMER>
 *       id = 2;
 *       lengths[1] = SQL_NULL_DATA;               // no CUSTOMER element
 *       XPstAppendRowData(writer, row, lengths);
 *     }
 *     if (XPstClose(writer) != 0) {
 *       for (uint16_t i = 0; XPstGetErrorMessage(writer, i, &number, text, sizeof text) == 0; ++i)
 *         fprintf(stderr, "error %u: %s\n", number, text);
 *       XPstCancel(writer);                       // removes what was started
 *     }
 *     XPstFree(writer);
 *     XPstTerminate();
 *     return 0;
 *   }
 */
#ifndef VX_XML_XPST_H_
#define VX_XML_XPST_H_

#include <stddef.h>
#include <stdint.h>

#include "foundation/vxexport.h"

/* The namespace of the writer's record elements and types. */
#define XPST_RECORDSET_NAMESPACE "urn:vxlib:xml-recordset:1"

/* One result column. */
typedef struct XML_PERSIST_COL_DESC {
  const char* name;       /* column name, UTF-8; copied */
  int16_t sqlType;        /* ODBC SQL type number */
  uint64_t columnSize;    /* length in characters or bytes, or precision */
  int16_t decimalDigits;  /* scale of NUMERIC and DECIMAL */
  int16_t nullable;       /* SQL_NULLABLE (1) or SQL_NO_NULLS (0) */
  int16_t isUnsigned;     /* non-zero: an unsigned integer column */
  int16_t cType;          /* ODBC C type of the row buffers */
} XML_PERSIST_COL_DESC;

/* A document being written. */
typedef struct XPstWriter XPstWriter;

#ifdef __cplusplus
extern "C" {
#endif

/* Registers the calling thread for the writer's calls; nests. 1 when the
 * thread cannot be registered. */
VX_EXPORT uint16_t XPstInit(void);
/* Ends one XPstInit of the calling thread. */
VX_EXPORT void XPstTerminate(void);

/* A writer for the document at `outputPath`, with the schema in its own
 * file at `schemaPath` (null: inline). `codePage` names the ICU converter
 * of SQL_C_CHAR data (null: UTF-8). Null only when memory is short; any
 * other failure (an unknown code page, an output directory that cannot be
 * written) is kept in the writer, whose calls then fail. */
VX_EXPORT XPstWriter* XPstCreate(const char* outputPath, const char* schemaPath,
                                 const char* codePage);
/* Declares the `count` columns and writes the schema. Once per writer. */
VX_EXPORT uint16_t XPstDescribeColumns(XPstWriter* writer, const XML_PERSIST_COL_DESC* columns,
                                       uint16_t count);
/* Appends one row: values[i] and lengths[i] for each declared column. */
VX_EXPORT uint16_t XPstAppendRowData(XPstWriter* writer, const void* const* values,
                                     const int64_t* lengths);
/* Abandons the document: nothing is written, temporary files are removed. */
VX_EXPORT uint16_t XPstCancel(XPstWriter* writer);
/* Writes the document (and schema file) and renames it into place. On
 * failure nothing is left at the output paths. */
VX_EXPORT uint16_t XPstClose(XPstWriter* writer);
/* Frees the writer; a document neither closed nor cancelled is cancelled. */
VX_EXPORT void XPstFree(XPstWriter* writer);

/* The index-th error kept by the writer (0 first): its message number and
 * text, cut to size - 1 bytes and NUL-terminated. 1 when there is no such
 * error. */
VX_EXPORT uint16_t XPstGetErrorMessage(XPstWriter* writer, uint16_t index, uint16_t* number,
                                       char* text, size_t size);
/* Forgets the writer's errors. */
VX_EXPORT void XPstResetErrors(XPstWriter* writer);

#ifdef __cplusplus
}
#endif

#endif /* VX_XML_XPST_H_ */
