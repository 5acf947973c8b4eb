/* What an application may use of the CSV driver beyond standard ODBC.
 *
 * VXCSV_ATTR_XML_RESULT (a statement attribute, SQLSetStmtAttr): a file
 * path, NUL-terminated or with its length in bytes (SQLSetStmtAttrW: a
 * UTF-16 path, length in bytes). The next result set the statement
 * produces (a query, SQLTables, SQLColumns or SQLGetTypeInfo) is also
 * written to that path as an XML document: an XML Schema description of
 * the columns, then one record per row. The attribute is used up by that
 * result set. When the document cannot be written the call that produced
 * the result set fails with a diagnostic (HY000, native 7642) naming the
 * path and the writer's reason, no result set is open and nothing is left
 * at the path. A null value withdraws a path set before.
 */
#ifndef VX_DRIVERS_CSV_VXCSV_H_
#define VX_DRIVERS_CSV_VXCSV_H_

#include <sqlext.h>

#define VXCSV_ATTR_XML_RESULT (SQL_DRIVER_STMT_ATTR_BASE + 1)

/* The VX_DEBUGGING bit of the driver's entry-point trace: each call prints
 * its name and return code. */
#define VXCSV_DEBUG_CALLS 0x1000

#endif /* VX_DRIVERS_CSV_VXCSV_H_ */
