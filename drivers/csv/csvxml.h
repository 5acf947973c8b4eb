// Saving a result set as an XML document with the library's result-set
// writer (xml/XPst.h): the schema of the columns, then one record per row.
//
// Failure: files 7642 (HY000) with the path and the writer's first reason
// in the calling thread's current list and returns false; nothing is left
// at the path then.
#ifndef VX_DRIVERS_CSV_CSVXML_H_
#define VX_DRIVERS_CSV_CSVXML_H_

#include <string>
#include <vector>

#include "drivers/csv/csvtable.h"

bool csvSaveAsXml(const std::string& path, const std::vector<CsvColumn>& columns,
                  const std::vector<std::vector<CsvValue>>& rows);

#endif  // VX_DRIVERS_CSV_CSVXML_H_
