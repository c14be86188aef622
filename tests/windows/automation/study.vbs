' A study through the automation classes on a workbook written in this script.
'
' Lines that begin with "= " are numbers, printed exactly: sign, upper 27 and lower 26 bits of the mantissa,
' exponent. study.cpp prints the same lines from the C++ classes. Lines that begin with "ok" or "FAILED" are
' checks. The last line tells that the script came to its end.
Option Explicit

' ---- the workbook ----

Class Application_
    Public ScreenUpdating
    Public StatusBar
    Public Calculation
    Public EnableEvents
    Public DisplayAlerts
    Public Book
    Public MacroRuns
    Public Generations
    Public Reported

    Private Sub Class_Initialize
        Calculation = -4105
        ScreenUpdating = True
        MacroRuns = 0
    End Sub
    Public Sub Calculate
        Book.Sheet.Calculate
    End Sub
    Public Function Run(name, arguments)
        Select Case name
        Case "Count": MacroRuns = MacroRuns + 1
        Case "Model.xlsm!Generation"
            Generations = arguments(7)
            Reported = arguments(1)(1)
        Case "Model.xlsm!Final" ' nothing to show
        Case Else: Err.Raise 1004, "Workbook", "Cannot run the macro '" & name & "'"
        End Select
    End Function
    Public Property Get ActiveWorkbook
        Set ActiveWorkbook = Book
    End Property
    Public Property Get Workbooks
        Set Workbooks = Books
    End Property
    Public Property Get Version
        Version = "script"
    End Property
    Public Property Get OperatingSystem
        OperatingSystem = "any"
    End Property
End Class

Class Books_
    Public Function Item(name)
        If name <> App.Book.Name Then Err.Raise 9
        Set Item = App.Book
    End Function
End Class

Class Book_
    Public Sheet
    Public Property Get Name
        Name = "Model.xlsm"
    End Property
    Public Sub Activate
    End Sub
End Class

Class Sheet_
    Public Parent

    Public Property Get Name
        Name = "Sheet1"
    End Property
    Public Sub Activate
    End Sub
    Public Function Add(address, content)
        Dim cell
        Set cell = New Cell_
        cell.Place address, Me
        cell.Formula = content
        Set Add = cell
    End Function
    Public Sub Calculate
        Volume.Calculate
        Cost.Calculate
    End Sub
End Class

Class Cell_
    Public Value
    Private where
    Private home
    Private formula_

    Public Sub Place(address, sheet)
        where = address
        Set home = sheet
    End Sub
    Public Sub Calculate
        Select Case formula_
        Case "": ' a constant
        Case "=width*width*height": Value = Width.Value * Width.Value * Height.Value
        Case "=2*width+height/width": Value = 2 * Width.Value + Height.Value / Width.Value
        End Select
    End Sub
    Public Property Get Formula
        If formula_ = "" Then Formula = CStr(Value) Else Formula = formula_
    End Property
    Public Property Let Formula(content)
        formula_ = ""
        If Left(content, 1) = "=" Then
            formula_ = content
            Calculate
        Else
            Value = CDbl(content)
        End If
    End Property
    Public Property Get HasFormula
        HasFormula = formula_ <> ""
    End Property
    Public Property Get Address
        Address = where
    End Property
    Public Property Get Count
        Count = 1
    End Property
    Public Property Get Worksheet
        Set Worksheet = home
    End Property
    Public Property Get Application
        Set Application = App
    End Property
    Public Sub Select_
    End Sub
End Class

' ---- printing ----

Sub Exact(label, x)
    Dim m, e, sign, hi
    sign = "+": m = x: e = 0
    If m < 0 Then sign = "-": m = -m
    If m > 0 Then
        Do While m >= 9007199254740992: m = m / 2: e = e + 1: Loop
        Do While m < 4503599627370496: m = m * 2: e = e - 1: Loop
    End If
    hi = Int(m / 67108864)
    WScript.Echo "= " & label & " " & sign & hi & " " & (m - hi * 67108864) & " " & e
End Sub

Sub Check(what, got, want)
    If got = want Then
        WScript.Echo "ok " & what
    Else
        WScript.Echo "FAILED " & what & ": " & got & " instead of " & want
    End If
End Sub

' Number, source and description of the error that was just raised.
Sub CheckError(what, number, source, description)
    Check what & ", number", Err.Number, number
    Check what & ", source", Err.Source, source
    Check what & ", description", Err.Description, description
    Err.Clear
End Sub

Dim App, Books, Width, Height, Volume, Cost
Set App = New Application_
Set Books = New Books_
Set App.Book = New Book_
Set App.Book.Sheet = New Sheet_
Set App.Book.Sheet.Parent = App.Book
Set Width = App.Book.Sheet.Add("$A$1", "4")
Set Height = App.Book.Sheet.Add("$A$2", "5")
Set Volume = App.Book.Sheet.Add("$B$1", "=width*width*height")
Set Cost = App.Book.Sheet.Add("$B$2", "=2*width+height/width")

Function Make(name)
    Set Make = CreateObject("varnex3." & name)
End Function

Function Formulation(xType)
    Dim f, cells, id, i, d
    Set f = Make("c_Formulation")
    cells = Array(Width, Height)
    For i = 1 To 2
        id = "x" & i
        f.AddX id
        f.CalcSequence(i) = i
        With f.ItemX(id)
            .DefName = id: .Name = id: .xType = xType
            Set .mean = cells(i - 1)
            .stdev = 0.1
            .AddFV 1: .AddFV 10
            .SearchMin = 1: .SearchMax = 10
        End With
        Set d = Make("c_Distribution")
        d.DistType = "Normal": d.param1 = 3 + i: d.param2 = 0.25
        If xType = "Noise" Then f.ItemX(id).dist.Add d
    Next
    cells = Array(Volume, Cost)
    For i = 1 To 2
        id = "y" & i
        f.AddY id
        With f.ItemY(id)
            .DefName = id: .Name = id
            Set .Formula = cells(i - 1)
        End With
    Next
    f.ItemY(1).lsl = 50
    f.ItemY(2).usl = "10.5"
    f.AddC "c"
    With f.ItemC("c")
        .DefName = "c": .Name = "c": .Aspect = "Mean": .Oper = ">=": .Reqt = 50
        Set .y = Volume
    End With
    f.AddG "g"
    With f.ItemG("g")
        .DefName = "g": .Name = "g": .Aspect = "Mean": .Oper = "<=": .Target = 0: .Priority = 1: .Weight = 1
        Set .y = Cost
    End With
    With f.Options
        .StopRule = "Stop after fixed #": .MaxGens = 12: .GenSize = 24: .Precision = 0.001
        .Derivs = "Quick": .Stats = "No Statistics": .StoreYs = "Yes": .OptTrials = "100"
        .beforeMacro = "Count"
    End With
    Set Formulation = f
End Function

' ---- a formulation and its check ----

Dim f, source, itemNum, cause, ok, x, names
Set f = Formulation("Continuous")
source = "": itemNum = 0: cause = ""
Check "a sound formulation passes", f.formulationOK(source, itemNum, cause), True
f.ItemX(2).Name = ""
Check "a missing name fails", f.formulationOK(source, itemNum, cause), False
Check "by-reference results", source & "/" & itemNum & "/" & cause, "Parameter/2/Name is missing"
ok = f.formulationOK(source, itemNum, cause, True) ' and shows it
f.ItemX(2).Name = "x2"
names = ""
For Each x In f.Xs
    names = names & x.id & " "
Next
Check "a loop over a collection", names, "x1 x2 "
Check "a property passes its argument on", f.Xs("x2").id, "x2"
Check "a cell comes back as it was handed in", f.ItemX(1).mean Is Width, True
Check "no object for a missing key", f.ItemX("x9") Is Nothing, True
Check "Booleans are -1 and 0", CInt(f.formulationOK(source, itemNum, cause)), -1

' ---- optimization: its closing message is answered from outside ----

Dim opt, mc
Set opt = Make("c_Optimization")
Set mc = Make("c_MonteCarlo")
Set opt.XLApplication = App
opt.CorvaneFileName = "Model.xlsm"
opt.PrintGenMacro = "Generation"
opt.PrintFinalMacro = "Final"
opt.Seed = 12345
Check "the optimization ends", opt.Optimize(f, mc), True
Exact "best width", Width.Value
Exact "best height", Height.Value
Exact "best cost", Cost.Value
Exact "macro runs", App.MacroRuns
Exact "generations", App.Generations
Exact "best width reported", App.Reported

' ---- simulation ----

Dim i, k
Set f = Formulation("Noise")
Set mc = Make("c_MonteCarlo")
Set mc.XLApplication = App
mc.LoadFormulation f
mc.numTrials = 300: mc.sampleSize = 100: mc.randSeed = 7: mc.useLHS = True
mc.alpha = 0.05: mc.refreshRate = 100
Check "the simulation ends", mc.RunMC, True
For i = 1 To 2
    For k = 1 To 7
        Exact "response " & i & " statistic " & k, mc.yStats(i, k)
    Next
    Exact "contribution " & i, mc.VarContribs(i, 1)
Next
mc.SortYs
Exact "least", mc.ySorted(1, 1)
Exact "trial 300", mc.xUnsorted(2, 300)
Check "a list of texts", ListOK(mc), True

Function ListOK(mc)
    Dim list(2, 0)
    list(0, 0) = "x1": list(1, 0) = "x2": list(2, 0) = "0.5"
    ListOK = mc.CorrelationListOK(list)
End Function

' ---- sensitivity ----

Dim sa, ins, outs, d1, d2
Set sa = Make("c_sa_Analysis")
Set ins = Make("c_sa_Input")
Set outs = Make("c_sa_Output")
Width.Value = 4: Height.Value = 5
d1 = Empty: d2 = Empty
sa.CalcDerivatives Array(Width, Height), Volume, d1, d2, "", ""
Check "arrays count from 1", LBound(d1) & " to " & UBound(d1), "1 to 2"
Set ins.y = Volume
ins.lsl = 70
For i = 1 To 2
    ins.xStDevs(i) = sa.EstimateStDev(0.3 * i, 3, False, False)
    ins.Derivs1(i) = d1(i)
    ins.derivs2(i) = d2(i)
    Exact "first derivative " & i, d1(i)
    Exact "second derivative " & i, d2(i)
Next
sa.SensitivityAnalysis ins, outs
Exact "predicted mean", outs.responseMean
Exact "predicted standard deviation", outs.responseStDev
Exact "below the limit", outs.PNC_lsl
Exact "share of the width", outs.VarianceContribs(1)

' ---- errors ----

Dim s, n
Set s = Make("c_Statistics")
On Error Resume Next
n = s.NormPDF(0, 0, -1)
CheckError "an error of the class", -2147221124, "quillon NormPDF", "Standard deviation can't be negative. x = 0, mean = 0, stdev = -1"
f.AddX "x1"
CheckError "a duplicate key", 457, "varnex3", "This key is already associated with an element of this collection"
n = s.median(1)
Check "an unknown member", Err.Number, 438: Err.Clear
n = s.NormPDF()
Check "a missing argument", Err.Number, 449: Err.Clear
n = s.normCDF(1, 2, 3)
Check "too many arguments", Err.Number, 450: Err.Clear
s.FINDZ_MAX = 1
Check "a read-only property", Err.Number, 383: Err.Clear
n = opt.XLApplication
Check "a write-only property", Err.Number, 394: Err.Clear
f.ItemX(1).mean = 3
Check "a value where a reference is wanted", Err.Number, 451: Err.Clear
f.ItemX(1).SearchMin = "low"
Check "a type mismatch", Err.Number, 13: Err.Clear
Dim d
Set d = Make("c_Derivatives")
n = d.Deriv(1, Width, Volume, "Missing", "")
Check "an error of the workbook", Err.Number <> 0, True ' wine's scripts lose number and text on the way
Check "and its trail", InStr(Err.Source, "in varnex3.c_Derivatives.Deriv at line") > 0, True
Err.Clear
Set n = CreateObject("varnex3.c_Nothing")
Check "an unknown class", Err.Number <> 0, True: Err.Clear
On Error Goto 0
opt.PrintGenMacro = "Nothing"
Check "an error within a run is shown", opt.Optimize(Formulation("Continuous"), mc), False

WScript.Echo "end of study"
