#!/usr/bin/env bash
# Checks that libvx.so exports its interface and nothing else: every
# defined dynamic symbol must belong to a name of the exported interface
# (a class or function family prefix, or one of the other exported names),
# and no standard-library or file-local symbol may leak out.
# Usage: check-exports.sh LIBVX_SO
set -euo pipefail
lib=$1

# Prefixes of the exported class and function families.
prefixes='Vx|vx|str|mem|BUT|but|bos|kt|ucnv|bvm|mds|Connection|XPst|CharacterConverter|BlkTmpFile|MemFile'
# Exported names outside those families.
others='AFGlobalWorld AFPU8 BOS_RUNTIME_DEBUG BOS_VXSEMAPHORE_INFO CloseStrings DummyError
GetPrivateProfileInt GetPrivateProfileString InstallDirLocation LoadString LoadStringFromOpenFile
LowerText MDS_PER_TASK_GLOBALS MemoryError OpenStrings Operators OperatorInfo SemArray UpperText
WritePrivateProfileString addDatabaseError addError addWarning alignOnByteBoundary appendPath
appendTextToErrorAtPos appendTextToLastError atomicTaskExchange atomicThreadExchange bitcheck bitset
convert convertFloat countDBLibInits decrypt dehexify dehexifyHuge encrypt fastMemCopy floatCompare
getThreadInfo hexify hexifyHuge isCharEqual isHexString isTrueStr javaToLower javaToUpper
ramAllocStr ramResize thr_yield today verifyByteBoundary wideDehexify wideHexify resourceElement
AnsiToOem OemToAnsi Append_UTF8 ConvUTF8ToUTF16 ConvUTF16ToUTF8 UTF16CharFromUTF8Char UTF8CharFromUTF16Char VerifyCodePage checkICUreturn
checkKTreturn mapICUreturn setConversionReturnLength getEntry getSection NORVK_UCNV_INI_Buf
NORVK_UCNV_INI_BufSize NORVK_UCNV_INST_Buf NORVK_UCNV_INST_BufSize IANAtoICUTable IANAtoICUTableRows
IANAtoIBMTable IANAtoIBMTableRows IBMtoIANATable IBMtoIANATableRows WindowsToIANATable
WindowsToIANATableRows UnilibToIANATable UnilibToIANATableRows'

symbols=$(nm -D --defined-only -C "$lib" | cut -d' ' -f3-)
status=0
leaks=$(printf '%s\n' "$symbols" | grep -E '^(std::|__gnu_cxx::)|\(anonymous namespace\)' || true)
if [ -n "$leaks" ]; then
  echo "internal symbols exported:"; printf '%s\n' "$leaks"; status=1
fi

# The owning name of each symbol: what stands before "::" or "(", with the
# typeinfo/vtable decorations removed.
names=$(printf '%s\n' "$symbols" |
  sed -E 's/^(typeinfo name for|typeinfo for|vtable for|VTT for|guard variable for) //' |
  grep -v -E '^operator (new|delete)' | sed -E 's/[(:].*//' | sort -u)
unknown=()
for name in $names; do
  [[ $name =~ ^($prefixes) ]] && continue
  [[ " $(echo $others) " == *" $name "* ]] && continue
  unknown+=("$name")
done
if [ ${#unknown[@]} -gt 0 ]; then
  echo "exported names outside the interface: ${unknown[*]}"; status=1
fi
# The replaceable global operators must not be exported: taking them over
# would change allocation for the whole host process.
if printf '%s\n' "$symbols" | grep -qE '^operator (new|delete)(\[\])?\((unsigned long|void\*)\)$'; then
  echo "a replaceable global allocation operator is exported"; status=1
fi
count=$(printf '%s\n' "$names" | wc -l)
[ $status -eq 0 ] && echo "libvx.so exports $count interface names and nothing else"
exit $status
