#!/usr/bin/python3
"""Makes tests/workbooks/corpus_*.xlsx: hundreds of formulas per function family, with the results that
LibreOffice stored when it opened, recalculated and saved them.

The formulas ask for the edges: empty cells, texts that read as numbers, Booleans, error values, dates,
negative and huge arguments. Needs python3-openpyxl and libreoffice-calc-nogui.

    tools/make_corpus.py [--examples CORVANE] [FAMILY]...

With --examples, the path of a built `corvane`, the example of every function becomes a workbook too.
"""
import itertools
import json
import pathlib
import random
import subprocess
import sys
import tempfile

from openpyxl import Workbook
from openpyxl.styles import Alignment
from openpyxl.worksheet.table import Table

TARGET = pathlib.Path(__file__).resolve().parent.parent / "tests" / "workbooks"

# Functions that files write with a prefix: those newer than the file format itself.
NEWER = set("""ACOT ACOTH AGGREGATE ARABIC BASE BETA.DIST BETA.INV BINOM.DIST BINOM.INV BITAND
BITLSHIFT BITOR BITRSHIFT BITXOR CEILING.MATH CEILING.PRECISE CHISQ.DIST CHISQ.DIST.RT CHISQ.INV CHISQ.INV.RT
CHISQ.TEST COMBINA CONCAT CONFIDENCE.NORM CONFIDENCE.T COT COTH COVARIANCE.P COVARIANCE.S CSC CSCH DAYS DECIMAL ENCODEURL
ERF.PRECISE ERFC.PRECISE EXPON.DIST F.DIST F.DIST.RT F.INV F.INV.RT F.TEST FLOOR.MATH FLOOR.PRECISE
FORECAST.LINEAR FORMULATEXT GAMMA GAMMA.DIST GAMMA.INV GAMMALN.PRECISE GAUSS HYPGEOM.DIST IFNA IFS ISFORMULA ISOWEEKNUM LOGNORM.DIST LOGNORM.INV MAXIFS MINIFS MODE.MULT
MODE.SNGL MUNIT NEGBINOM.DIST NETWORKDAYS.INTL NORM.DIST NORM.INV NORM.S.DIST NORM.S.INV NUMBERVALUE PDURATION
PERCENTILE.EXC PERCENTILE.INC PERCENTRANK.EXC PERCENTRANK.INC PERMUTATIONA PHI POISSON.DIST QUARTILE.EXC
QUARTILE.INC RANK.AVG RANK.EQ RRI SEC SECH SHEET SHEETS SKEW.P STDEV.P STDEV.S SWITCH T.DIST T.DIST.2T T.DIST.RT
T.INV T.INV.2T T.TEST TEXTJOIN UNICHAR UNICODE VAR.P VAR.S WEIBULL.DIST WORKDAY.INTL XLOOKUP XOR Z.TEST""".split())
NO_PREFIX = {"NETWORKDAYS.INTL", "WORKDAY.INTL"}

# What LibreOffice 7.4 cannot store results for: it does not know these, or not by their names in files.
UNKNOWN_THERE = set("""BINOM.DIST.RANGE XLOOKUP XMATCH CHOOSECOLS CHOOSEROWS DROP EXPAND FILTER HSTACK ISO.CEILING RANDARRAY SEQUENCE
SORT SORTBY TAKE TEXTAFTER TEXTBEFORE TEXTSPLIT TOCOL TOROW UNIQUE VSTACK WRAPCOLS WRAPROWS PERCENTOF
ARRAYTOTEXT VALUETOTEXT ODDFPRICE ODDFYIELD BYCOL BYROW ISOMITTED LAMBDA LET MAKEARRAY MAP REDUCE SCAN TRIMRANGE ASC BAHTTEXT
DBCS""".split())
CHANGING = set("RAND RANDBETWEEN NOW TODAY RANDARRAY INFO CELL".split())

# Families that are saved as .ods too.
AS_DOCUMENTS = ["operators", "lookup", "dates"]

# Sheet "Data", written as @ in the formulas below.
DATA = {
    "A": [3, -1.5, 0, 12, 7, 2.25, 100, -40, 0.001, 5],
    "B": [1, None, "text", "12", 4, "", " 7 ", 2.5, "1e3", -3],
    "C": ["=1/0", "=NA()", '=""', "=SQRT(-1)", '=VALUE("x")', "=1=1", "=2*3", '="5"', None, "=-0.5"],
    "D": [36526, 45351, 45351.75, 60, 61, 1, 2958465, 44926, 0.5, 43831],
    "E": [1, 2, 4, 8, 16, 32, 64, 128, 256, 512],
    "F": ["one", "two", "four", "eight", "sixteen", "x32", "y", "z", "zz", "zzz"],
    "G": ["pear", "Apple", "apple pie", "fig", "*star", "a?b", "", "plum", "fig", "12"],
    "H": [1.1, 2.3, 2.9, 4.2, 5.1, 5.8, 7.3, 7.9, 9.2, 9.9],
    "I": [10, 20, 20, 30, 10, 20, 50, 60, 10, 70],
    "K": [True, False],
    "M": ["Tree", "Apple", "Pear", "Cherry", "Apple", "Pear", "Apple"],
    "N": ["Height", 18, 12, 13, 14, 9, 8],
    "O": ["Yield", 14, 10, 9, "none", None, 6],
    "P": ["Profit", 105, 96, 105, 75, "=1/0", 45],
    "R": ["Tree", "=\"=Apple\"", "=\"=Pear\""],
    "S": ["Height", ">10", None],
    "T": ["Height", "<16", None],
    "U": ["Yield", "<>none", ">8"],
    "J": [-1000, 200, 300, 150, 400, 250, 100, -50, 300, 75],
}

ODD = ["0", "1", "-1", "0.5", "-2.5", "1E+10", '"3"', '"x"', "TRUE", "@B2", "@C1", "@B4", "@A9", "@K1"]


def each(names, arguments):
    return [f"{n}({a})" for n in names.split() for a in arguments]


def pairs(names, left, right):
    return [f"{n}({a},{b})" for n in names.split() for a, b in itertools.product(left, right)]


FAMILIES = {
    "operators": [f"{a}{o}{b}" for a in ("@A2", "@B2", "@B3", "@B4", "@C2", '"b"')
                  for o in "+ - * / ^ & = <> < >= >".split() for b in ("2", "@B2", '"12"', "@C3")] + [
        "-2^2", "2^-2", "2^3^2", "-(2)^2", "50%", "50%%", "-50%^2", "1+2*3-4/5", "1&2+3", "1=1=TRUE", "--@B4",
        "+@B3", "-@K1", "@K1*2", "@K1+@K1", "TRUE+1", "@K2=FALSE", "@K1=1", "-@B2", '"a"<"B"', '"a"="A"', "1<TRUE", "0.1+0.2=0.3", "0.1+0.2-0.3",
        "1-0.9-0.1", "1E308*10", "1E-308/1E10", "0^0", "(-8)^(1/3)", "1E+200*1E+200", "10^15+0.3", "@A1:A1*2",
        "SUM(@A1:A3 @A2:A5)", "SUM((@A1:A2,@A4))", "{1,2;3,4}*2", "SUM({1,2;3,4}*{1;2})", "1/3*3=1",
        '"2024-02-29"+1', '"12:00"*24', '"3"*"4"', '"$3"&1', "@Z9=0", '@Z9=""', "@Z9=FALSE", "1.5E+3", ".5+1."],
    "mathematics": each("""ABS ACOS ACOSH ACOT ACOTH ASIN ASINH ATAN ATANH COS COSH COT COTH CSC CSCH DEGREES EVEN EXP
        FACT FACTDOUBLE INT LN LOG LOG10 ODD RADIANS SEC SECH SIGN SIN SINH SQRT SQRTPI TAN TANH TRUNC""", ODD) + pairs(
        "MOD QUOTIENT ROUND ROUNDUP ROUNDDOWN CEILING FLOOR LOG COMBIN PERMUT TRUNC",
        ["0", "7", "-7", "2.5", "-1234.5678", "1E+15", "@B2", '"5"'], ["0", "2", "-2", "0.3", "3", "@B2"]) + pairs(
        "CEILING.MATH FLOOR.MATH CEILING.PRECISE FLOOR.PRECISE", ["6.3", "-6.3", "0", "@B2"], ["2", "-2", "0"]) + [
        "CEILING.MATH(-6.3,2,1)", "POWER(2,-2)", "POWER(-8,3)", "POWER(-8,0.5)", "POWER(0,2)", "POWER(@B4,2)", "MROUND(7,2)", "MROUND(-7,-2)",
        "MROUND(7,0)", "MROUND(7,-2)", "ATAN2(1,-1)", "ATAN2(-1,0)", "ATAN2(0,-2)", "COMBINA(4,3)", "COMBINA(4,0)", "FLOOR.MATH(-6.3,2,1)", "CEILING.MATH(6.3)", "FLOOR.MATH(-6.3)", "MOD(10,@C1)",
        "GCD(12,18)", "GCD(@A4,@A5,8.9)", "GCD(0,0)", "GCD(-2,4)", "LCM(4,6)", "LCM(0,5)", "LCM(@E1:E6)", "LCM(-1,2)",
        "MULTINOMIAL(2,3,4)", "MULTINOMIAL(@E1:E3)", "SERIESSUM(2,0,2,{1,2,3})", "ROMAN(1999)", "ROMAN(1999,4)",
        "ROMAN(0)", "ROMAN(-1)", "ROMAN(4000)", 'ARABIC("MCMXCIX")', 'ARABIC("")', 'ARABIC("-X")', "BASE(255,16)",
        "BASE(7,2,8)", "BASE(-1,2)", 'DECIMAL("FF",16)', 'DECIMAL("zap",36)', "SUM(@A1:A10)", "SUM(@B1:B10)",
        "SUM(@C3:C10)", "SUM(@C1:C10)", "SUM(TRUE,2)", 'SUM("x")', "SUM(@B4,@B5)", "SUM(@K1:K2)", "PRODUCT(@A1:A10)",
        "PRODUCT(@B1:B10)", "PRODUCT(@B2)", "PRODUCT(@B2,3)", "SUMSQ(@A1:A10)", "SUMSQ(@B1:B10)",
        "SUMX2MY2(@A1:A5,@E1:E5)", "SUMX2PY2(@A1:A5,@E1:E5)", "SUMXMY2(@A1:A5,@E1:E5)", "SUMXMY2(@A1:A5,@B1:B5)",
        "SUMXMY2(@A1:A5,@E1:E4)", "SUMPRODUCT(@A1:A5,@E1:E5)", "SUMPRODUCT(@A1:A5,@B1:B5)",
        "SUMPRODUCT((@A1:A10>0)*@E1:E10)", "SUMPRODUCT(@A1:A5,@E1:E4)", "SUMPRODUCT(--(@G1:G10=\"fig\"))",
        "MDETERM({1,2;3,4})", "MDETERM({1,2;2,4})", "MDETERM(@E1:G2)", "SUM(MINVERSE({1,2;3,4}))",
        "SUM(MMULT({1,2;3,4},{5;6}))", "SUM(MMULT({1,2},{3,4}))", "MMULT(@B1:C2,@A1:A2)", "SUM(MUNIT(3))",
        "SUM(TRANSPOSE(@A1:A3)*@A1:A3)", "FACT(170)", "FACT(171)", "EXP(709)", "EXP(710)", "PI()", "SQRT(2)^2=2",
        "ROUND(2.675,2)", "ROUND(1.005,2)", "ROUND(-0.5,0)", "ROUND(1234.5,-2)", "ROUND(5E-324,3)", "INT(-0.1)",
        "MOD(-3,2)", "MOD(3,-2)", "MOD(1E20,3)", "MOD(0.3,0.1)", "SIN(1E15)", "TAN(PI()/2)", "COMBIN(100,50)",
        "COMBIN(-1,2)", "LOG(8,2)", "LOG(8,1)", "LOG(8,0)", "LOG(0)", "BITAND(13,25)", "BITOR(13,25)", "BITXOR(13,25)",
        "BITLSHIFT(4,2)", "BITRSHIFT(13,2)", "BITAND(-1,2)", "BITAND(1.5,1)", "BITLSHIFT(1,60)"],
    "aggregates": each("""AVERAGE AVERAGEA COUNT COUNTA MAX MAXA MIN MINA MEDIAN STDEV STDEVA STDEVP STDEVPA VAR VARA VARP
        VARPA STDEV.S STDEV.P VAR.S VAR.P GEOMEAN HARMEAN DEVSQ AVEDEV SKEW SKEW.P KURT MODE MODE.SNGL""",
        ["@A1:A10", "@B1:B10", "@C3:C10", "@B2", "@B3", "@B2,3", "@K1:K2", "TRUE,2", "@I1:I10", "@C1:C3", "@E1:E2",
         "@Z1:Z5", "1", '"x"']) + ["COUNTBLANK(@B1:B10)", "COUNTBLANK(@C1:C10)", "COUNTBLANK(@Z1:Z5)"] + [
        f"{n}({r},{c})" for n in ("COUNTIF", "SUMIF", "AVERAGEIF") for r in ("@A1:A10", "@B1:B10", "@G1:G10", "@C1:C10")
        for c in ('">0"', '"<=3"', '"fig"', '"*p*"', '"~*star"', '"<>fig"', '""', '"="', '"<>"', "12", '"12"', "@K1",
                  '">f"', "@B2", '"a?b"', '"=12"', '"<>12"', '"apple*"')] + [
        'SUMIF(@G1:G10,"fig",@A1:A10)', 'SUMIF(@G1:G10,"fig",@A1)', 'SUMIF(@G1:G10,"*",@E1:E10)',
        'SUMIFS(@E1:E10,@A1:A10,">0",@I1:I10,"<=20")', 'SUMIFS(@E1:E10,@A1:A10,">0",@I1:I9,"<=20")',
        'COUNTIFS(@A1:A10,">0",@I1:I10,20)', 'COUNTIFS(@A1:A10,">1000")', 'AVERAGEIFS(@E1:E10,@A1:A10,">1000")',
        'AVERAGEIFS(@E1:E10,@A1:A10,">0")', 'MAXIFS(@E1:E10,@A1:A10,"<0")', 'MINIFS(@E1:E10,@A1:A10,"<0")',
        'MAXIFS(@E1:E10,@A1:A10,">1000")', 'AVERAGEIF(@A1:A10,">0",@E1:E10)'] + pairs(
        "LARGE SMALL", ["@A1:A10", "@B1:B10", "@Z1:Z3"], ["0", "1", "2", "11", '"x"', "@B2"]) + pairs(
        "PERCENTILE PERCENTILE.INC PERCENTILE.EXC QUARTILE QUARTILE.INC QUARTILE.EXC",
        ["@A1:A10", "@B1:B10", "@Z1:Z3"], ["0", "1", "2", "0.5", "0.9", "-1", "11", '"x"', "2.7"]) + [
        f"{n}({x},@A1:A10{o})" for n in ("RANK", "RANK.EQ", "RANK.AVG") for x in ("3", "@A7", "@B2")
        for o in ("", ",1", ",0")] + ["RANK(20,@I1:I10)", "RANK.AVG(20,@I1:I10)", "RANK.AVG(20,@I1:I10,1)"] + [
        f"SUBTOTAL({k},{r})" for k in range(1, 12) for r in ("@A1:A10", "@B1:B10")] + [
        "SUBTOTAL(109,@A1:A10)", "SUBTOTAL(12,@A1:A10)", "SUBTOTAL(9,@C1:C10)", "AGGREGATE(9,6,@C1:C10)",
        "AGGREGATE(4,6,@C1:C10)", "AGGREGATE(14,6,@A1:A10,2)", "AGGREGATE(1,0,@A1:A10)", "AGGREGATE(9,4,@C1:C10)",
        "TRIMMEAN(@A1:A10,0.2)", "TRIMMEAN(@A1:A10,1)", "TRIMMEAN(@A1:A10,0)", "PERCENTRANK(@A1:A10,5)",
        "PERCENTRANK(@A1:A10,6)", "PERCENTRANK(@A1:A10,1000)", "PERCENTRANK.INC(@A1:A10,6,5)",
        "PERCENTRANK.EXC(@A1:A10,6)", "SUM(FREQUENCY(@A1:A10,{0,5,10}))", "FREQUENCY(@A1:A10,@E1:E3)",
        "SUM(MODE.MULT(@I1:I10))", "MAX(@C1:C10)", "MIN(@C2)"],
    "statistics": each("NORMSDIST NORMSINV FISHER FISHERINV GAMMALN GAMMALN.PRECISE GAMMA GAUSS PHI NORM.S.INV ERF ERFC",
                       ODD + ["0.975", "1E-10", "8", "-8", "40"]) + [
        f"{n}({y},{x})" for n in ("CORREL", "PEARSON", "RSQ", "SLOPE", "INTERCEPT", "STEYX", "COVAR", "COVARIANCE.P",
                                  "COVARIANCE.S")
        for y, x in (("@A1:A10", "@H1:H10"), ("@B1:B10", "@H1:H10"), ("@A1:A10", "@H1:H9"), ("@E1:E1", "@H1:H1"),
                     ("@C3:C10", "@H3:H10"), ("@C1:C10", "@H1:H10"), ("{1,2,3}", "{2,2,2}"))] + [
        "FORECAST(3,@A1:A10,@H1:H10)", "FORECAST.LINEAR(3,@I1:I10,@H1:H10)", "INDEX(LINEST(@I1:I10,@H1:H10),1,1)",
        "INDEX(LINEST(@I1:I10,@H1:H10),1,2)", "INDEX(LINEST(@I1:I10,@H1:H10,TRUE,TRUE),3,1)",
        "INDEX(LINEST(@I1:I10,@H1:H10,FALSE,TRUE),1,1)", "INDEX(LINEST(@I1:I10,@H1:H10,TRUE,TRUE),4,1)",
        "INDEX(LOGEST(@I1:I10,@H1:H10),1,1)", "INDEX(TREND(@I1:I10,@H1:H10),3)", "SUM(TREND(@I1:I10,@H1:H10,{11;12}))",
        "SUM(GROWTH(@I1:I10,@H1:H10))", "SUM(GROWTH(@I1:I10,@H1:H10,{11;12}))", "INDEX(LINEST(@I1:I10,@G1:H10),1)",
        "STANDARDIZE(5,3,2)", "STANDARDIZE(5,3,0)", "CONFIDENCE(0.05,2,30)", "CONFIDENCE.NORM(0.05,2,30)",
        "CONFIDENCE.T(0.05,2,30)", "CONFIDENCE(0,2,30)", "CONFIDENCE(0.05,2,0.5)", "PROB({1,2,3},{0.2,0.3,0.5},2)",
        "PROB({1,2,3},{0.2,0.3,0.5},1,2)", "PROB({1,2,3},{0.2,0.3,0.6},2)", "TTEST(@A1:A10,@H1:H10,2,1)",
        "TTEST(@A1:A10,@H1:H10,2,2)", "T.TEST(@A1:A10,@H1:H10,1,3)", "FTEST(@A1:A10,@H1:H10)", "F.TEST(@A1:A2,@H1:H2)",
        "ZTEST(@A1:A10,4)", "Z.TEST(@A1:A10,4,30)", "CHITEST(@E1:E5,@I1:I5)", "CHISQ.TEST(@E1:F2,@E1:E2)",
        "PERMUTATIONA(3,2)", "PERMUTATIONA(0,0)"] + [
        f"{n}({x},{a},{c})" for n, a in (("NORMDIST", "3,2"), ("NORM.DIST", "3,2"), ("NORM.DIST", "3,0"), ("EXPONDIST", "1.5"),
                                         ("EXPON.DIST", "0"), ("WEIBULL", "2,3"), ("WEIBULL.DIST", "1,100"),
                                         ("GAMMADIST", "2,3"), ("GAMMA.DIST", "0.5,1"), ("BETA.DIST", "2,3"),
                                         ("POISSON", "2.5"), ("POISSON.DIST", "0.5"), ("LOGNORM.DIST", "1,2"),
                                         ("CHISQ.DIST", "3"), ("CHISQ.DIST", "1"), ("T.DIST", "5"), ("F.DIST", "4,6"),
                                         ("NORM.DIST", "0,1"), ("NEGBINOM.DIST", "3,0.4"))
        for x in ("0", "1", "2.5", "-1", "20", '"x"', "@B2") for c in ("TRUE", "FALSE")] + [
        f"{n}({p},{a})" for n, a in (("NORMINV", "3,2"), ("NORM.INV", "3,0"), ("GAMMAINV", "2,3"), ("GAMMA.INV", "0.5,1"),
                                     ("BETAINV", "2,3"), ("BETA.INV", "2,3,1,5"), ("CHIINV", "3"), ("CHISQ.INV", "3"),
                                     ("CHISQ.INV.RT", "0.5"), ("TINV", "5"), ("T.INV", "5"), ("T.INV.2T", "0.9"),
                                     ("FINV", "4,6"), ("F.INV", "4,6"), ("F.INV.RT", "4,0"), ("LOGINV", "1,2"),
                                     ("LOGNORM.INV", "1,2"))
        for p in ("0", "0.001", "0.3", "0.5", "0.975", "1", "-0.1", "@B2")] + [
        "BINOMDIST(3,10,0.3,TRUE)", "BINOM.DIST(3,10,0.3,FALSE)", "BINOMDIST(11,10,0.3,TRUE)", "BINOM.DIST(3.7,10,0,TRUE)",
        "CRITBINOM(10,0.3,0.5)", "BINOM.INV(10,0.3,1)",
        "BINOM.INV(10,0.3,0)", "NEGBINOMDIST(2,3,0.4)", "HYPGEOMDIST(1,4,8,20)", "HYPGEOM.DIST(1,4,8,20,TRUE)",
        "HYPGEOM.DIST(5,4,8,20,FALSE)", "CHIDIST(3,2)", "CHIDIST(-1,2)", "CHISQ.DIST.RT(3,2)", "TDIST(1.5,5,1)",
        "TDIST(1.5,5,2)", "TDIST(-1.5,5,2)", "TDIST(1.5,5,3)", "T.DIST.2T(1.5,5)", "T.DIST.RT(-1.5,5)", "FDIST(1.5,4,6)",
        "F.DIST.RT(1.5,4,6)", "FDIST(-1,4,6)", "BETADIST(0.4,2,3)", "BETADIST(2,2,3,1,5)", "LOGNORMDIST(2,1,2)",
        "NORM.S.DIST(1.3,TRUE)", "NORM.S.DIST(1.3,FALSE)", "NORMSDIST(-38)", "NORMSINV(1E-300)", "GAMMADIST(1000,900,1,TRUE)",
        "BINOMDIST(500,1000,0.5,TRUE)", "POISSON(1000,1000,TRUE)", "TINV(0.05,1000000)", "ERF(0,1)", "GAMMA.DIST(0,1,2,FALSE)", "GAMMA.DIST(0,3,2,FALSE)", "BETA.INV(1,2,3)", "ERF(1,-1)", "ERFC(30)"],
    "logic": [
        "IF(@A1>2,1,2)", "IF(@B2,1,2)", 'IF("x",1,2)', 'IF("TRUE",1,2)', "IF(@C1,1,2)", "IF(TRUE,@B2)", "IF(FALSE,1)",
        "IF(TRUE,,2)", "IF(1,@C1,2)", "IF(0,@C1,2)", "AND(@B1:B10)", "AND(@A1:A2)", "AND(@B3)", "AND(@B2)", "AND(TRUE,@B2)",
        'AND(1,"TRUE")', "OR(@B5:B6)", "OR(@Z1:Z3)", "OR(FALSE,@C1)", "OR(TRUE,@C1)", "NOT(@B2)", 'NOT("x")', "NOT(0.1)",
        "XOR(TRUE,TRUE,TRUE)", "XOR(@A1:A10)", "IFERROR(@C1,5)", "IFERROR(@B2,5)", "IFERROR(@C2,@B2)", "IFNA(@C2,5)",
        "IFNA(@C1,5)", "IFS(@A1>5,1,@A1>1,2)", "IFS(FALSE,1)", "IFS(@C1,1,TRUE,2)", "SWITCH(2,1,\"a\",2,\"b\")",
        'SWITCH(3,1,"a",2,"b")', 'SWITCH(3,1,"a","z")', 'SWITCH("A","a",1,2)', "SWITCH(@C1,1,2)", "CHOOSE(2,@C1,7)",
        "CHOOSE(0,1)", "CHOOSE(3,1,2)", "CHOOSE(2.9,1,2,3)", "SUM(CHOOSE(2,@A1:A3,@E1:E3))", "CHOOSE(@B2,1)", "TRUE()", "FALSE()",
        "IF({TRUE,FALSE},1,2)", "SUM(IF(@A1:A10>0,@E1:E10))", "SUMPRODUCT(IF(@A1:A10>0,1,0))"] + each(
        "ISBLANK ISERR ISERROR ISLOGICAL ISNA ISNONTEXT ISNUMBER ISTEXT N T TYPE ISREF ISFORMULA ERROR.TYPE",
        ["@A1", "@B2", "@B3", "@B4", "@B5", "@C1", "@C2", "@C3", "@C7", "@Z9", "@D1"]) + each(
        "ISEVEN ISODD", ["2", "-3", "2.9", '"x"', "@B2", "@B4", "@C1", "TRUE"]) + ["NA()", "TYPE({1,2})", "TYPE(@A1:A2)"],
    "lookup": [
        f"{n}({k},@E1:F10,2{m})" for n in ("VLOOKUP",) for k in ("4", "5", "0", "1000", '"4"', "@B2", "@C1", "4.0001")
        for m in ("", ",FALSE", ",TRUE", ",0")] + [
        f"MATCH({k},@{r},{m})" for k in ("8", "9", "0", "600", '"fig"', '"FIG"', '"a*"', '"~*star"', '"a~?b"', "@B2")
        for r, m in (("E1:E10", "0"), ("E1:E10", "1"), ("G1:G10", "0"))] + [
        'VLOOKUP("fig",@G1:I10,2,FALSE)', 'VLOOKUP("p*",@G1:I10,3,0)', 'VLOOKUP("fig",@G1:I10,4,FALSE)',
        'VLOOKUP("fig",@G1:I10,0,FALSE)', 'VLOOKUP("apple",@G1:I10,2,FALSE)', 'VLOOKUP("12",@G1:I10,2,FALSE)',
        "VLOOKUP(12,@G1:I10,2,FALSE)", "VLOOKUP(1,@B1:C2,2,FALSE)", "HLOOKUP(3,@A1:J3,2,FALSE)",
        'HLOOKUP("pear",@A1:J3,3,FALSE)', "LOOKUP(5,@E1:E10)", "LOOKUP(5,@E1:E10,@F1:F10)", "LOOKUP(0,@E1:E10)",
        "LOOKUP(1000,@E1:F10)", 'LOOKUP("m",{"a","k","z"},{1,2,3})', "LOOKUP(2,1/(@A1:A10>0),@E1:E10)", "INDEX(@A1:C3,2,1)",
        "INDEX(@A1:C3,2,2)", "INDEX(@A1:C3,4,1)", "INDEX(@A1:A10,3)", "INDEX(@A1:J1,3)", "SUM(INDEX(@A1:C3,0,1))",
        "SUM(INDEX(@A1:C3,2,0))", "INDEX(@A1:C3,-1,1)", "INDEX({1,2;3,4},2,2)", "INDEX((@A1:A3,@E1:E3),2,1,2)",
        "INDEX(@A1:A10,2.9)", "SUM(@A1:INDEX(@A1:A10,3))", "SUM(OFFSET(@A1,1,0,3,1))", "OFFSET(@A1,2,4)", "OFFSET(@A1,-1,0)",
        "SUM(OFFSET(@A1:A2,0,4))", "SUM(OFFSET(@A5,0,0,-3,1))", "OFFSET(@A1,0,0,0,1)", 'INDIRECT("Data!A4")',
        'SUM(INDIRECT("Data!A1:A3"))', 'INDIRECT("Data!R2C1",FALSE)', 'INDIRECT("nowhere!A1")', 'INDIRECT("")',
        'INDIRECT("Data!"&"E"&3)', "ROW(@A5)", "ROW()", "COLUMN()", "COLUMN(@C5)", "ROWS(@A1:C5)", "COLUMNS(@A1:C5)",
        "SUM(ROW(@A1:A4))", "ROWS({1,2;3,4})", "AREAS((@A1:A2,@C1))", "ADDRESS(2,3)", "ADDRESS(2,3,4)", "ADDRESS(2,3,2,FALSE)",
        'ADDRESS(2,3,1,TRUE,"My sheet")', "ADDRESS(0,3)", "SUM(TRANSPOSE({1,2,3}))", "MATCH(TRUE,@K1:K2,0)",
        "MATCH(12,@B1:B10,0)", "MATCH(2,{1,2,3})", "MATCH(5,@A1:B2,0)", "MATCH(3,@C1:C10,0)", 'MATCH("",@G1:G10,0)',
        "MATCH(@Z1,@B1:B10,0)", "MATCH(7,{9,8,7,6},-1)", "MATCH(7.5,{9,8,7,6},-1)", "MATCH(10,{9,8,7,6},-1)", "SHEET()",
        "SHEETS()", 'SHEET("Data")', "FORMULATEXT(@C1)", "FORMULATEXT(@A1)", "@E:E", "SUM(@E:E)", "SUM(@2:2)", "COUNTA(@A:J)"],
    "text": each("LEN UPPER LOWER PROPER TRIM CLEAN VALUE CODE T", [
        '"Hello  World"', '" a  b "', '""', "12.5", "@B2", "@B7", "@C1", '"1,234.5"', '"élan VITAL o\'neil"',
        '"12%"', '"$5"', '"(3)"', '"1e3"', '"2024-02-29"', '"1/2/2024"', '"10:30"', '"10:30 PM"', '" "', "0.1", "-0", "1/3",
        '"TRUE"', '"1 1/2"', "1E-7", "0.00001234"]) + [
        f"TEXT({x},\"{f}\")" for x in ("0", "1234.567", "-1234.567", "0.5", "1E+10", '"abc"', "@B2")
        for f in ("0", "0.00", "#,##0.00", "0%", "0.0E+00", "#", "#.##", "000000", "$#,##0;($#,##0)", "0.00;-0.00;\"\"zero\"\"",
                  "@", "General", "? ?/?", "+0;-0", "0,", "#,##0,,", "00.0#")] + [
        f"TEXT({x},\"{f}\")" for x in ("45351.75", "36526", "61.25", "40000.123456")
        for f in ("yyyy-mm-dd", "d/m/yy", "dddd", "ddd, mmm d", "hh:mm:ss", "h:mm AM/PM", "[h]:mm", "mmmm yyyy", "mm:ss.00",
                  "yyyy-mm-dd hh:mm", "[mm]")] + [
        'LEFT("abc",2)', 'LEFT("abc")', 'LEFT("abc",0)', 'LEFT("abc",-1)', 'LEFT("abc",9)', 'RIGHT("abc",2)', 'RIGHT("abc")',
        "RIGHT(12345,2)", 'MID("abcdef",2,3)', 'MID("abc",0,1)', 'MID("abc",5,1)', 'MID("abc",2,-1)', 'MID("abc",2,99)',
        'FIND("b","abcb")', 'FIND("B","abcb")', 'FIND("b","abcb",3)', 'FIND("x","abc")', 'FIND("","abc")', 'FIND("","abc",9)',
        'FIND("a","abc",0)', 'SEARCH("B","abcb")', 'SEARCH("b?","abcb")', 'SEARCH("*c","abcb")', 'SEARCH("~?","ab?")',
        'SEARCH("x","abc")', 'SUBSTITUTE("banana","an","AN")', 'SUBSTITUTE("banana","an","AN",2)', 'SUBSTITUTE("banana","","x")',
        'SUBSTITUTE("banana","an","",9)', 'SUBSTITUTE("banana","an","x",0)', 'REPLACE("abcdef",2,3,"X")', 'REPLACE("abc",9,1,"X")',
        'REPLACE("abc",0,1,"X")', 'REPT("ab",3)', 'REPT("ab",0)', 'REPT("ab",-1)', 'REPT("ab",2.9)', 'EXACT("a","A")',
        'EXACT("1",1)', "EXACT(@B2,\"\")", "CHAR(65)", "CHAR(256)", "CHAR(65.9)", 'CODE("A")', 'CODE("")', "UNICHAR(937)",
        'UNICODE("Ω")', 'CONCATENATE("a",1,TRUE,@B2)', 'CONCAT(@F1:F3,"x",@B1:B2)', "CONCATENATE(@C1,1)",
        'TEXTJOIN(",",TRUE,@B1:B10)', 'TEXTJOIN(",",FALSE,@B1:B4)', 'TEXTJOIN({",",";"},TRUE,@E1:E4)', "FIXED(1234.567)",
        "FIXED(1234.567,1)", "FIXED(1234.567,-2)", "FIXED(1234.567,1,TRUE)", "FIXED(-0.05,1)", "DOLLAR(1234.567)", "DOLLAR(-0.5,1)",
        'NUMBERVALUE("1.234,5",",",".")', 'NUMBERVALUE("12%")', 'NUMBERVALUE("")', 'NUMBERVALUE("x")', 'NUMBERVALUE("1 2 3")',
        '1&""', '0.1+0.2&""', '1/3&""', '1E+15&""', '1E+21&""', '123456789012&""', '1E-5&""', '-1.5E-10&""', 'TRUE&""', '1E+100&""',
        'LEFT(@B2,2)&"|"', 'LEN(@C1)', 'LENB("ab")', 'UPPER(@C2)', 'TRIM(CHAR(160)&"a")', 'LEFT(TRUE,2)', 'VALUE(@B2)'],
    "dates": each("YEAR MONTH DAY WEEKDAY WEEKNUM ISOWEEKNUM HOUR MINUTE SECOND", [
        "@D1", "@D2", "@D3", "@D5", "@D7", "@D8", "@D10", '"2024-02-29"', '"x"', "@C1", "45351.4"]) + each(
        "HOUR MINUTE SECOND", ["@B2", '"10:30"', '"1:02:03 PM"', "@D9", "1.999"]) + ["DAY(@D4)", "DAY(@D6)", "YEAR(-1)",
        "DATE(2024,2,29)", "DATE(2023,2,29)", "DATE(2024,13,1)", "DATE(2024,0,0)", "DATE(2024,-5,40)", "DATE(99,1,1)", "DATE(0,1,1)",
        "DATE(10000,1,1)", "DATE(1899,1,1)", "DATE(2024.9,2.9,1.9)", "TIME(1,2,3)", "TIME(25,0,0)", "TIME(0,-1,0)", "TIME(0,0,3601)",
        'DATEVALUE("2024-02-29")', 'DATEVALUE("29 Feb 2024")', 'DATEVALUE("x")', 'TIMEVALUE("10:30")', 'TIMEVALUE("25:00")',
        'TIMEVALUE("x")', "DAYS(@D2,@D1)", "DAYS360(@D1,@D2)", "DAYS360(@D1,@D2,TRUE)", "DAYS360(DATE(2024,1,31),DATE(2024,2,29))",
        "DAYS360(DATE(2023,2,28),DATE(2023,3,31))", "EDATE(@D2,12)", "EDATE(DATE(2024,1,31),1)", "EDATE(@D2,-1.9)", "EDATE(@D1,-2000)",
        "EOMONTH(@D2,0)", "EOMONTH(@D2,-1)", "EOMONTH(@D2,12)", "EOMONTH(@B2,0)", "WEEKDAY(@D2,2)", "WEEKDAY(@D2,3)", "WEEKDAY(@D2,11)",
        "WEEKDAY(@D2,17)", "WEEKDAY(@D2,4)", "WEEKNUM(@D2,2)", "WEEKNUM(@D2,21)", "WEEKNUM(DATE(2023,1,1),1)", "WEEKNUM(@D2,5)",
        "NETWORKDAYS(@D10,@D8)", "NETWORKDAYS(@D2,@D1)", "NETWORKDAYS(@D10,@D8,{43833,43834})", "NETWORKDAYS.INTL(@D10,@D8,11)",
        'NETWORKDAYS.INTL(@D10,@D8,"0000011")', 'NETWORKDAYS.INTL(@D10,@D8,"1111111")', "WORKDAY(@D2,10)", "WORKDAY(@D2,-10)",
        "WORKDAY(@D2,0)", "WORKDAY(@D2,5,{45352,45355})", "WORKDAY.INTL(@D2,5,11)", 'WORKDAY.INTL(@D2,5,"0101010")',
        '@D3-INT(@D3)', '@D2+1', 'TEXT(@D2,"yyyy")+0'] + [
        f'DATEDIF({a},{b},"{u}")' for a, b in (("@D1", "@D2"), ("@D2", "@D1"), ("DATE(2024,1,31)", "DATE(2024,3,1)"),
                                              ("DATE(2023,2,28)", "DATE(2024,2,29)")) for u in ("y", "m", "d", "ym", "yd", "md", "q")] + [
        f"YEARFRAC({a},{b},{k})" for a, b in (("@D1", "@D2"), ("DATE(2023,1,31)", "DATE(2024,2,29)"), ("@D2", "@D1"),
                                             ("DATE(2024,2,29)", "DATE(2025,2,28)")) for k in range(0, 6)],
    "financial": [
        f"{n}({r},{p},{a})" for n, a in (("PMT", "1000"), ("PMT", "1000,50,1"), ("PV", "-100"), ("PV", "-100,500,1"), ("FV", "-100"),
                                         ("FV", "-100,-500,1")) for r in ("0.05", "0", "-0.02", "@B2") for p in ("12", "0", "1.5")] + [
        f"NPER({r},{p},{v})" for r in ("0.01", "0", "-0.01") for p in ("-100", "0", "5") for v in ("1000", "0", "-1000,2000")] + [
        "RATE(12,-100,1000)", "RATE(12,-100,1200)", "RATE(12,-100,1000,50,1)", "RATE(12,100,1000)", "RATE(0,-100,1000)",
        "RATE(360,-600,100000)", "NPV(0.1,@J1:J10)", "NPV(0.1,@J1,@J2,@B2,5)", "NPV(-1,1,2)", "NPV(0,@B1:B10)", "IRR(@J1:J10)",
        "IRR(@J1:J10,0.5)", "IRR(@E1:E5)", "IRR({-100,39,59,55,20})", "IRR({-100,0,0,0,50})", "MIRR(@J1:J10,0.1,0.12)",
        "MIRR(@E1:E5,0.1,0.12)", "IPMT(0.01,1,12,1000)", "IPMT(0.01,13,12,1000)", "PPMT(0.01,3,12,1000)", "PPMT(0.01,3,12,1000,0,1)",
        "IPMT(0.01,1,12,1000,0,1)", "CUMIPMT(0.01,12,1000,1,6,0)", "CUMPRINC(0.01,12,1000,1,6,1)", "CUMIPMT(0.01,12,1000,7,6,0)",
        "SLN(1000,100,5)", "SLN(1000,100,0)", "SYD(1000,100,5,2)", "SYD(1000,100,5,6)", "DB(1000,100,5,2)", "DB(1000,100,5,1,6)",
        "DB(1000,100,5,6,6)", "DB(1000,0,5,1)", "DDB(1000,100,5,2)", "DDB(1000,100,5,5,3)", "DDB(1000,100,5,6)", "EFFECT(0.1,4)",
        "EFFECT(0.1,0.5)", "NOMINAL(0.1,4)", "NOMINAL(-1,4)", "PDURATION(0.05,100,200)", "RRI(10,100,200)", "RRI(0,100,200)",
        "DOLLARDE(1.02,16)", "DOLLARDE(-1.1,8)", "DOLLARFR(1.125,16)", "DOLLARFR(1.125,0)", "FVSCHEDULE(100,{0.05,0.06})",
        "FVSCHEDULE(100,@B2)", "XNPV(0.1,@J1:J5,{44000;44100;44200;44300;44400})", "XIRR(@J1:J5,{44000;44100;44200;44300;44400})",
        "XIRR({1;2},{44000;44100})", "DISC(44000,44200,97,100,1)", "INTRATE(44000,44200,97,100,2)", "RECEIVED(44000,44200,97,0.05,3)",
        "PRICEDISC(44000,44200,0.05,100,0)", "PMT(0.05,12,@C1)", 'FV("0.05",2,-100)', 'FV("x",2,-100)'],
    "database": [f"{name}(@M1:P7,{field},@{criteria})"
        for name in "DSUM DAVERAGE DCOUNT DCOUNTA DGET DMAX DMIN DPRODUCT DSTDEV DSTDEVP DVAR DVARP".split()
        for field in ('"Height"', '"Yield"', "4", '"x"') for criteria in ("R1:R2", "R1:R3", "S1:S2", "U1:U2", "R1:U3")],
    "securities": [f"{name}({dates},{frequency},{basis})"
        for name in "COUPDAYBS COUPDAYS COUPDAYSNC COUPNCD COUPNUM COUPPCD".split()
        for dates in ("DATE(2011,1,25),DATE(2011,11,15)", "DATE(2023,2,28),DATE(2024,8,31)",
                      "DATE(2024,2,29),DATE(2030,3,30)")
        for frequency in "124" for basis in "01234"] + [
        f"{name}({dates},0.0575,{last},100,{frequency},{basis})" for name, last in (("PRICE", "0.065"), ("YIELD", "95.04"))
        for dates in ("DATE(2008,2,15),DATE(2017,11,15)", "DATE(2023,2,28),DATE(2024,8,31)")
        for frequency in "124" for basis in "014"] + [
        "PRICE(DATE(2024,7,1),DATE(2024,8,31),0.0575,0.065,100,2,0)", "YIELD(DATE(2024,7,1),DATE(2024,8,31),0.0575,95.04,100,2,0)",
        "PRICE(DATE(2008,2,15),DATE(2017,11,15),0.0575,0.065,100,2,2)", "PRICE(DATE(2008,2,15),DATE(2017,11,15),0.0575,0.065,100,2,3)",
        "DURATION(DATE(2008,1,1),DATE(2016,1,1),0.08,0.09,2,1)"] + [
        f"{name}(DATE(2008,1,1),DATE(2016,1,1),0.08,0.09,{frequency},{basis})" for name in ("DURATION", "MDURATION")
        for frequency in "124" for basis in "04"] + [
        f"{name}(DATE(2008,3,15),DATE(2008,11,3),{rest},{basis})" for basis in "01234" for name, rest in (
            ("DISC", "97.975,100"), ("INTRATE", "1000,1014"), ("RECEIVED", "1000,0.0575"), ("PRICEDISC", "0.0525,100"),
            ("YIELDDISC", "99.795,100"), ("PRICEMAT", "DATE(2007,11,8),0.0625,0.061"),
            ("YIELDMAT", "DATE(2007,11,8),0.0625,100.0123"), ("ACCRINTM", "0.1,1000"))] + [
        f"ACCRINT(DATE(2008,3,1),DATE(2008,8,31),DATE(2008,5,1),0.1,1000,{frequency},{basis})"
        for frequency in "124" for basis in "04"] + [
        f"{name}(2400,39679,39813,300,{period},{rate},{basis})" for name in ("AMORLINC", "AMORDEGRC")
        for period in range(0, 9) for rate in ("0.15", "0.3", "0.5") for basis in "014"] + [
        f"VDB(2400,{salvage},10,{times})" for salvage in ("300", "0", "2000")
        for times in ("0,1", "0,10", "2,5", "5,10", "0,5,1.5", "0,10,2,TRUE", "3,7,1,TRUE", "9,10")] + [
        f"ODDL{name}(DATE(2008,4,20),DATE(2008,6,15),DATE(2007,12,24),0.0375,{last},100,2,{basis})"
        for name, last in (("PRICE", "0.0405"), ("YIELD", "99.875")) for basis in "04"] + [
        f"{name}({dates})" for name in ("TBILLEQ", "TBILLPRICE", "TBILLYIELD")
        for dates in ("DATE(2008,3,31),DATE(2008,6,1),0.09", "DATE(2008,3,31),DATE(2009,3,31),0.09",
                      "DATE(2008,3,31),DATE(2008,9,30),0.09")] + [
        "ISPMT(0.1/12,1,36,8000000)", "ISPMT(0.1,0,3,-4000)", "ISPMT(0.1,3,3,-4000)"],
    "engineering": each("BIN2DEC HEX2DEC OCT2DEC BIN2HEX BIN2OCT HEX2BIN HEX2OCT OCT2BIN OCT2HEX", [
        "101", '"101"', '"1111111111"', '"7777777777"', '"FFFFFFFFFF"', '""', '"x"', "@B2", "-1", "0", "12345678901"]) + each(
        "DEC2BIN DEC2HEX DEC2OCT", ["5", "-5", "511", "512", "-512", "-513", "5.9", '"x"', "@B2", "5,8", "5,1", "5,-1", "1E+12"]) + each(
        "IMABS IMREAL IMAGINARY IMARGUMENT IMCONJUGATE IMSQRT IMEXP IMLN IMLOG10 IMLOG2 IMSIN IMCOS IMTAN IMSINH IMCOSH IMSEC IMCSC IMCOT",
        ['"3+4i"', '"-i"', '"2j"', "5", "0", '"x"', '"1e2-1.5i"', "@B2", '"3 + 4i"']) + [
        'IMSUM("1+2i","3-i")', 'IMSUM("1+i","1+j")', 'IMSUB("1+2i","3-i")', 'IMPRODUCT("1+2i","3-i")', 'IMDIV("1+2i","3-i")',
        'IMDIV("1","0")', 'IMPOWER("1+i",3)', 'IMPOWER("0",0)', 'IMPOWER("2i",-0.5)', "COMPLEX(3,4)", 'COMPLEX(0,-1,"j")',
        'COMPLEX(1,1,"k")', "COMPLEX(0,0)", "COMPLEX(1.5,0)", "DELTA(1)", "DELTA(0)", "DELTA(5,5)", "GESTEP(1)", "GESTEP(-1)",
        "GESTEP(5,5)", "BESSELJ(1.9,2)", "BESSELI(1.5,1)", "BESSELK(1.5,1)", "BESSELY(2.5,1)", "BESSELJ(-1,1)", "BESSELY(-1,1)",
        "BESSELJ(1,-1)", "BESSELJ(10,0)", 'CONVERT(1,"m","ft")', 'CONVERT(100,"C","F")', 'CONVERT(0,"K","C")', 'CONVERT(1,"kg","lbm")',
        'CONVERT(1,"m","kg")', 'CONVERT(1,"km","mi")', 'CONVERT(1,"hr","sec")', 'CONVERT(1,"l","gal")', 'CONVERT(1,"J","cal")',
        'CONVERT(1,"x","y")', 'CONVERT(1,"atm","Pa")', 'CONVERT(1,"HP","W")', 'CONVERT(1,"byte","bit")', 'CONVERT(1,"mmHg","psi")',
        'CONVERT(1,"yd","in")', 'CONVERT(1,"lbf","N")', 'CONVERT(1,"BTU","kWh")', 'CONVERT(1,"ha","uk_acre")', 'CONVERT(1,"kn","m/s")'],
}


class Mixture:
    """Formulas that nobody chose: functions in functions, criteria, searches, regressions and array formulas, the
    same ones every time. What is known to differ between programs (Booleans that count, roots of negative
    numbers, multiples of the other sign) is left out."""

    def __init__(self):
        self.random = random.Random(20240229)

    def of(self, choices):
        return self.random.choice(choices.split(" "))

    def number(self, depth):
        if depth == 0:
            return self.of("@A1 @A2 @A4 @A6 @H3 @H7 @E4 2 0.5 -3 @B1 @B8")
        inner = lambda: self.number(depth - 1)
        kind = self.random.randrange(16)
        if kind < 4:
            return f"({inner()}){self.of('+ - * /')}({inner()})"
        if kind == 4:
            return f"IF({inner()}>{inner()},{inner()},{inner()})"
        if kind == 5:
            return f"IFERROR({inner()},0)"
        if kind == 6:
            return f"{self.of('ROUND ROUNDUP ROUNDDOWN TRUNC')}({inner()},{self.of('0 1 2')})"
        if kind == 7:
            return f"{self.of('MAX MIN SUM AVERAGE')}({inner()},{inner()},@H1:H4)"
        if kind == 8:
            return f"{self.of('CEILING FLOOR')}(ABS({inner()}),{self.of('0.5 2 3')})"
        if kind == 9:
            return f"({inner()})^{self.of('2 -1 3')}"
        return f"{self.of('ABS SIGN SIN TANH ATAN INT')}({inner()})" if kind < 13 else f"LN(1+ABS({inner()}))"

    def criterion(self):
        return self.of('">0" ">=2" "<5" "<>3" "=3" "fig" "<>fig" "*p*" "?ig" "~*star" "a~?b" "" "=" "<>" ">f" '
                       '"<=pear" "=12" ">"&@A6 "<>"&@B3')

    def conditional(self):
        what, of = self.of("COUNTIFS SUMIFS AVERAGEIFS MAXIFS MINIFS"), self.of("E1:E10 H1:H10")
        tests = ",".join(f"@{self.of('A1:A10 E1:E10 F1:F10 G1:G10 I1:I10')},{self.criterion()}"
                         for _ in range(self.random.randrange(1, 3)))
        return f"{what}({tests})" if what == "COUNTIFS" else f"{what}(@{of},{tests})"

    def search(self):
        wanted, kind = self.of('4 8 512 1000 4.5 0 "fig" "one" "x32"'), self.random.randrange(5)
        if kind == 0:
            return f"MATCH({wanted},@{self.of('E1:E10 F1:F10 G1:G10')},0)"
        if kind == 1:
            return f"MATCH({self.of('4 8 4.5 1000')},{self.of('@E1:E10 @H1:H10 {1,2,4,4,8}')},1)"
        if kind == 2:
            return f"VLOOKUP({self.of('4 5 0.5 300')},@E1:I10,{self.of('1 2 3 4')},{self.of('TRUE FALSE')})"
        if kind == 3:
            return f"IFERROR(INDEX(@E1:E10,MATCH({wanted},@F1:F10,0)),\"none\")"
        x, at = self.of("3 4.5 7"), self.of("2 3 6 8")
        return f"FORECAST({x},INDEX(@I1:I10,{at}):INDEX(@I1:I10,{at}+1),INDEX(@H1:H10,{at}):INDEX(@H1:H10,{at}+1))"

    def regression(self):
        y, constant = self.of("@A1:A10 @I1:I10 @J1:J10 @H1:H10"), self.of("TRUE FALSE")
        x = self.of("@E1:E10 @D1:E10" if y == "@H1:H10" else "@E1:E10 @H1:H10 @D1:E10 @H1:H10^{1,2}")
        return f"INDEX(LINEST({y},{x},{constant},TRUE),{self.of('1 2 3 4 5')},{self.of('1 2')})"

    def array(self):
        series = lambda: self.of("@A1:A10 @E1:E10 @H1:H10 @I1:I10")
        one, other, limit = series(), series(), self.of("0 2 5")
        return self.random.choice([
            f"SUM({one}*{other})", f"SUM(IF({one}>{limit},{other},1))", f"MAX(IF({one}<{limit},{other}))",
            f"AVERAGE(ABS({one}-{other}))", f"SUM(({one}>{limit})*({other}<20)*{one})", f"SUM(LARGE({one},{{1,2,3}}))",
            f"SUM(COUNTIF({one},{{1,5,\">2\"}}))", f"SUM(SUMIF({one},\">\"&{{0;5}},{other}))",
            f"STDEV.S(IF({one}<>0,{other}))", f"SUM(MMULT(TRANSPOSE({one}),{other}))", f"COUNT(1/({one}>{limit}))"])

    def annuity(self):
        rate, payment, worth = self.of("0.1/12 0.05 0.0775"), self.of("-100 -250.5 50"), self.of("1000 25000 5000")
        return self.random.choice([
            f"PMT({rate},{self.of('12 60 360')},{worth})", f"RATE({self.of('60 170 360')},-{self.of('200 250')},{worth})",
            f"NPER({rate},-{worth},{self.of('1000 5000')},100)", f"FV({rate},{self.of('12 7.5')},{payment},{worth},1)",
            f"IRR({{-1000,{self.of('300 900')},{self.of('400 80')},{self.of('500 600')}}})",
            f"CUMIPMT({rate},60,{worth},{self.of('1 2')},{self.of('5 7')},0)",
            f"VDB({worth},{self.of('0 300')},10,{self.of('0 2')},{self.of('3.5 5')},{self.of('1.5 2')})"])

    def formulas(self):
        kinds = [(lambda: self.number(self.random.randrange(2, 5)), 260), (self.conditional, 140), (self.search, 80),
                 (self.regression, 60), (self.array, 100), (self.annuity, 80)]
        return [make() for make, count in kinds for _ in range(count)]


FAMILIES["mixture"] = Mixture().formulas()
ARRAY_FORMULAS = ["mixture"]


def prefixed(formula):
    """The formula as files write it: newer functions carry a prefix; @ is the sheet with the data."""
    out, word, quoted = "", "", False
    for c in formula + " ":
        if c == '"':
            quoted = not quoted
        if not quoted and (c.isalnum() or c == "."):
            word += c
            continue
        if c == "(" and word in NEWER - NO_PREFIX:
            word = "_xlfn." + word
        out, word = out + word, ""
        out += "Data!" if c == "@" and not quoted else c
    return out[:-1]


def data_sheet(book):
    sheet = book.create_sheet("Data")
    for column, values in DATA.items():
        for row, value in enumerate(values, 1):
            sheet[f"{column}{row}"] = value
            if isinstance(value, str) and not value.startswith("="):
                sheet[f"{column}{row}"].data_type = "s"
            if column == "D":
                sheet[f"{column}{row}"].number_format = "yyyy-mm-dd"
    sheet["Z99"] = "end"


def write(family, formulas, folder):
    book = Workbook()
    sheet = book.active
    sheet.title = "Formulas"
    seen = set()
    for formula in formulas:
        if formula in seen:
            continue
        seen.add(formula)
        row = len(seen)
        sheet.cell(row, 1, formula).data_type = "s"
        sheet.cell(row, 1).alignment = Alignment(horizontal="left")
        sheet.cell(row, 2, "=" + prefixed(formula))
        if family in ARRAY_FORMULAS:
            sheet.formula_attributes[f"B{row}"] = {"t": "array", "ref": f"B{row}"}
    data_sheet(book)
    path = pathlib.Path(folder) / f"corpus_{family}.xlsx"
    book.save(path)
    return path


def examples(corvane):
    rows = json.loads(subprocess.run([corvane, "functions", "--json", "-"], check=True, capture_output=True).stdout)
    return [r["example"][1:] for r in rows
            if not (UNKNOWN_THERE | CHANGING) & set(r["example"].replace("(", " ").replace("=", " ").split())]


def study_cells(folder):
    """Cells of every kind that a study may name, for the tests of the program."""
    book = Workbook()
    sheet = book.active
    sheet.title = "Design"
    for row, value in enumerate([2, "=SQRT(3-B1)", "steel", "=B1*2", "=1/0", 7.5, None, "=B1^2+B6"], 1):
        sheet.cell(row, 2, value)
    path = pathlib.Path(folder) / "study_cells.xlsx"
    book.save(path)
    return path


def tables(folder):
    """A table with a calculated column, a hidden row, and formulas elsewhere that name the table."""
    book = Workbook()
    sheet = book.active
    sheet.title = "Data"
    total = "=Parts[[#This Row],[Price]]*Parts[[#This Row],[Qty '[kg']]]"
    for row in [["Item", "Price", "Qty [kg]", "Total"], ["bolt", 2, 10, total], ["nut", 3, 20, total],
                ["pin", 5, 30, total], ["shim", 0.5, "none", total]]:
        sheet.append(row)
    sheet.add_table(Table(displayName="Parts", ref="A1:D5"))
    for row, value in enumerate([1, 2, 4, 8, 16], 1):
        sheet.cell(row, 6, value)
    sheet.row_dimensions[3].hidden = True
    use = book.create_sheet("Use")
    for row, formula in enumerate(["SUM(Parts[Price])", "SUM(Parts[[Price]:[Qty '[kg']]])", "Parts[[#Headers],[Total]]",
                                   "SUMIF(Parts[Item],\"nut\",Parts[Total])", "ROWS(Parts[Item])",
                                   "INDEX(Parts[Total],3)", "SUBTOTAL(109,Data!F1:F5)", "SUBTOTAL(109,Data!F2:F3)",
                                   "AGGREGATE(9,5,Data!F1:F5)", "AGGREGATE(14,5,Data!F2:F4,1)"], 1):
        use.cell(row, 1, "=" + prefixed(formula))
    path = pathlib.Path(folder) / "corpus_tables.xlsx"
    book.save(path)
    return path


def main():
    arguments = sys.argv[1:]
    families = dict(FAMILIES)
    if arguments[:1] == ["--examples"]:
        families["examples"] = examples(arguments[1])
        arguments = arguments[2:]
    with tempfile.TemporaryDirectory() as folder:
        paths = [str(write(name, families[name], folder)) for name in arguments or families]
        if not arguments:
            paths += [str(study_cells(folder)), str(tables(folder))]
        convert("xlsx:Calc MS Excel 2007 XML", folder, paths)
        convert("ods", folder, [str(TARGET / f"corpus_{n}.xlsx") for n in AS_DOCUMENTS if n in (arguments or families)])


def convert(kind, folder, paths):
    """Lets LibreOffice open, recalculate and save the files."""
    if paths:
        subprocess.run(["soffice", f"-env:UserInstallation=file://{folder}/profile", "--headless", "--convert-to", kind,
                        "--outdir", str(TARGET), *paths], check=True)


if __name__ == "__main__":
    main()
