#!/usr/bin/env python3
"""Writes charset/ucnv_tables.cpp, the five code-page mapping tables.

Inputs: the IANA character-set registry (../shared/data/iana-character-sets.csv
from the repository root, columns Name, MIBenum, Preferred MIME Name and
Aliases) and the alias table of the installed ICU, as `uconv -l --canon`
prints it (each converter's canonical name, then its aliases, each with the
standards that list it: IANA, IBM, WINDOWS...). The rows that drivers rely
on are fixed below (FIXED_*) and override whatever the data gives.

Usage: python3 scripts/gen-codepage-tables.py [registry.csv] > charset/ucnv_tables.cpp
"""
import csv
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
REGISTRY = os.path.join(ROOT, '..', 'shared', 'data', 'iana-character-sets.csv')

# IANA number -> converter name, for the rows drivers depend on.
FIXED_NAMES = {
    3: 'ANSI_X3.4-1968', 4: 'ISO_8859-1:1987', 5: 'ISO_8859-2:1987',
    17: 'ibm-942_P120-2000', 18: 'Extended_UNIX_Code_Packed_Format_for_Japanese',
    36: 'ibm-1363_P11B-2000', 38: 'EUC-KR', 39: 'ISO-2022-JP', 57: 'GB_2312-80',
    106: 'UTF-8', 111: 'ISO-8859-15', 113: 'GBK', 114: 'GB18030', 1012: 'UTF-7',
    1013: 'UTF-16BE', 1014: 'UTF-16LE',
    1015: 'UTF-16LE',  # UTF-16 is taken as little-endian on purpose
    1016: 'CESU-8', 1017: 'UTF-32', 1018: 'UTF-32BE', 1019: 'UTF-32LE',
    2009: 'IBM850', 2011: 'IBM437', 2024: 'ibm-943_P15A-2003', 2025: 'GB2312',
    2026: 'Big5', 2027: 'macintosh', 2028: 'IBM037', 2102: 'IBM1047', 2103: 'PTCP154',
    2259: 'TIS620',
}
FIXED_NAMES.update({2250 + i: 'windows-125%d' % i for i in range(9)})
PRIVATE = 2000000000
PRIVATE_NAMES = {
    PRIVATE + 36: 'windows-949', PRIVATE + 930: 'ibm-930', PRIVATE + 943: 'ibm-943_P14A-2000',
    PRIVATE + 950: 'ibm-1370_P100-1999', PRIVATE + 1386: 'ibm-1386',
    PRIVATE + 2024: 'windows-932-2000', PRIVATE + 5027: 'ibm-1390',
    PRIVATE + 5037: 'solaris-eucJP-2_7', PRIVATE + 5038: 'solaris-eucJP-2_8',
}
for i, n in enumerate(['DECKANJI', 'EUCGB', 'MACCYR', 'MACEE', 'MACGRK', 'MACTURK', 'GREEK8',
                       'TURKISH8', 'EUCKSC', 'MACTHAI', 'ROMAN9', 'MACEURO']):
    PRIVATE_NAMES[PRIVATE + 1 + i] = 'UNICONV_CID_' + n
for i, n in enumerate(['td_ebcdic', 'td_ebcdic037_0e', 'td_ebcdic273_0e', 'td_ebcdic277_0e',
                       'td_hangulebcdic933_1ii', 'td_hangulksc5601_2r4', 'td_kanjiebcdic5026_0i',
                       'td_kanjiebcdic5035_0i', 'td_kanjieuc_0u', 'td_kanjisjis_0s',
                       'td_katakanaebcdic', 'td_latin1252_0a', 'td_latin1_0a', 'td_latin9_0a',
                       'td_schebcdic935_2ij', 'td_schgb2312_1t0', 'td_tchbig5_1r0',
                       'td_tchebcdic937_3ib']):
    PRIVATE_NAMES[PRIVATE + 5039 + i] = n

FIXED_IANA_TO_IBM = {4: 1252, 106: 1208, 1014: 1202, 1015: 1200, 2011: 437, 2028: 37,
                     PRIVATE + 931: 930, PRIVATE + 938: 939}
FIXED_IBM_TO_IANA = {37: 2028, 300: PRIVATE + 939, 301: 2024, 5297: 1015, 5304: 106, 5305: 106,
                     13488: 1013, 17584: 1013, 13490: 1014, 17586: 1014, 28709: PRIVATE + 1159}
FIXED_IBM_TO_IANA.update({5346 + i: 2250 + i for i in range(9)})
FIXED_WINDOWS = {437: 2011, 850: 2009, 874: 111, 932: 2024, 936: 113, 949: 36, 950: 2026,
                 1200: 1014, 1201: 1013, 1361: 36, 20127: 3, 28605: 111, 38598: 11,
                 50220: 39, 50221: 40, 50225: 37, 51932: 18, 51949: 38, 54936: 114,
                 65000: 1012, 65001: 106}
FIXED_WINDOWS.update({1250 + i: 2250 + i for i in range(9)})
FIXED_WINDOWS.update({28591 + i: 4 + i for i in range(9)})
FIXED_UNILIB = {-1: 1015, 0: 3, 1: 4, 2: 2009, 3: 2011, 4: 2004, 5: 2027, 6: 17, 7: 18, 9: 2025,
                11: 2024, 32: 2084, 33: 2259, 34: 2026, 37: 2028, 932: 17, 936: 113, 949: 36,
                950: 2026}
FIXED_UNILIB.update({12 + i: 5 + i for i in range(9)})
FIXED_UNILIB[21] = 111
FIXED_UNILIB.update({1140 + i: 2091 + i for i in range(10)})
FIXED_UNILIB.update({1250 + i: 2250 + i for i in range(9)})


def squeeze(name):
    """A name as ICU compares names: case, '-', '_' and blanks do not count."""
    return re.sub(r'[-_ ]', '', name).lower()


def read_icu_aliases():
    """canonical -> [(alias, set of standards)], and squeezed alias -> canonical."""
    text = subprocess.run(['uconv', '-l', '--canon'], check=True, capture_output=True,
                          text=True).stdout
    converters, owner = {}, {}
    current = None
    for line in text.splitlines()[1:]:
        m = re.match(r'^(\s*)(\S+)\s*(?:\{([^}]*)\})?', line)
        if not m:
            continue
        name, tags = m.group(2), set((m.group(3) or '').split())
        if not m.group(1):
            current = name
            converters[current] = []
        converters[current].append((name, tags))
        owner.setdefault(squeeze(name), current)
    return converters, owner


def read_registry(path):
    rows = []
    with open(path, newline='') as f:
        for r in csv.DictReader(f):
            if not r['MIBenum'].strip():
                continue
            names = [r['Name'].strip(), r['Preferred MIME Name'].strip()]
            names += [a.strip() for a in r['Aliases'].split('\n')]
            rows.append((int(r['MIBenum']), [n.split()[0] for n in names if n]))
    return rows


def ibm_numbers(aliases, starred_only):
    out = []
    for name, tags in aliases:
        m = re.fullmatch(r'ibm-(\d+)', name)
        if m and (('IBM*' in tags) if starred_only else ('IBM' in tags or 'IBM*' in tags)):
            out.append(int(m.group(1)))
    return out


def build():
    converters, owner = read_icu_aliases()
    registry = read_registry(sys.argv[1] if len(sys.argv) > 1 else REGISTRY)
    to_icu = {}
    for mib, names in registry:
        known = [n for n in names if squeeze(n) in owner]
        if known:
            to_icu[mib] = known[0]
    to_icu.update(FIXED_NAMES)
    iana_of_canon = {}
    for mib in sorted(to_icu):
        canon = owner.get(squeeze(to_icu[mib]))
        if canon:
            iana_of_canon.setdefault(canon, mib)
    # Private numbers for the IBM converters no IANA number reaches.
    for canon, aliases in converters.items():
        if canon in iana_of_canon:
            continue
        for n in ibm_numbers(aliases, True):
            PRIVATE_NAMES.setdefault(PRIVATE + n, 'ibm-%d' % n)
    to_icu.update(PRIVATE_NAMES)

    iana_to_ibm = {}
    for mib, name in to_icu.items():
        canon = owner.get(squeeze(name))
        if mib < PRIVATE and canon:
            numbers = ibm_numbers(converters[canon], True) or ibm_numbers(converters[canon], False)
            if numbers:
                iana_to_ibm[mib] = numbers[0]
        elif mib > PRIVATE and name.startswith('ibm-') and mib - PRIVATE < 100000:
            iana_to_ibm[mib] = mib - PRIVATE
    iana_to_ibm.update(FIXED_IANA_TO_IBM)

    ibm_to_iana = {}
    for canon, aliases in converters.items():
        target = iana_of_canon.get(canon)
        for n in ibm_numbers(aliases, False):
            value = target if target is not None else (
                PRIVATE + n if PRIVATE + n in to_icu else None)
            if value is not None:
                ibm_to_iana.setdefault(n, value)
    ibm_to_iana.update(FIXED_IBM_TO_IANA)

    windows = {}
    for canon, aliases in converters.items():
        target = iana_of_canon.get(canon)
        for name, tags in aliases:
            m = re.fullmatch(r'windows-(\d+)', name)
            if m and target is not None and tags & {'WINDOWS', 'WINDOWS*'}:
                windows.setdefault(int(m.group(1)), target)
    windows.update(FIXED_WINDOWS)

    unilib = {k: v for k, v in windows.items() if 37 <= k < 1200}
    unilib.update({k: v for k, v in ibm_to_iana.items() if 37 <= k < 1200 and v < PRIVATE})
    unilib.update(FIXED_UNILIB)
    return to_icu, iana_to_ibm, ibm_to_iana, windows, unilib


def emit(name, rows, is_name):
    print('const %s %s[] = {' % ('UcnvNameRow' if is_name else 'UcnvMapRow', name))
    for k in sorted(rows):
        v = rows[k]
        print('    {%dLL, %s},' % (k, '"%s"' % v if is_name else '%dLL' % v))
    print('};')
    print('const int64_t %sRows = %d;' % (name, len(rows)))
    print()


def main():
    to_icu, iana_to_ibm, ibm_to_iana, windows, unilib = build()
    print('// Generated by scripts/gen-codepage-tables.py from the IANA character-set')
    print('// registry and the installed ICU\'s alias table; do not edit by hand.')
    print('// Every table is sorted ascending by key (the look-ups search it).')
    print('#include "charset/ucnv.h"')
    print()
    emit('IANAtoICUTable', to_icu, True)
    emit('IANAtoIBMTable', iana_to_ibm, False)
    emit('IBMtoIANATable', ibm_to_iana, False)
    emit('WindowsToIANATable', windows, False)
    emit('UnilibToIANATable', unilib, False)


if __name__ == '__main__':
    main()
