' A script's whole life with the COM server: cscript server_client.vbs RUN.run.json SNAPSHOT.txt
' Reports on the run, writes the workbook as text (UTF-16) into the file, and prints what is wrong, then "done".
Option Explicit

Sub Check(what, found, expected)
  If found <> expected Then WScript.Echo what & ": " & found & " instead of " & expected
End Sub

Dim standIn, reports, file, selected(6), i
Set standIn = CreateObject("OrdvaneTest.ExcelStandIn")
standIn.Open WScript.Arguments(0)
Set reports = CreateObject("OrdvaneResults8.OrdvaneReports")
Check "the name", reports.name, "OrdvaneReports"

' Switches and numbers of every kind.
reports.ReportAllOutputCells = True
reports.PerformPrecedentScan = True
reports.RemoveAutoVarysAtEndOfRun = True
reports.PauseOnError = True
reports.UpdateDisplay = True
reports.OnlyOrdvaneing = True
reports.SingleWorkbookAllResults = True
reports.ReportsInNewWorkbook = True
reports.TornadoGraphs = True
reports.SpiderGraphs = True
reports.SensitivityGraphs = True
reports.OutputSummaryReport = True
reports.OutputDetailReport = True
reports.MultiWayReport = True
reports.DetailByInput = True
reports.PrecedentScanType = 3
reports.DefaultDistForRange = 3
reports.DefaultRangeType = 3
reports.DefaultStepsPerInput = 3
reports.DefaultMultiStepsPerInput = 3
reports.DefaultMultiGroupSize = 3
reports.NumberOfRuns = 3
Check "the switches", reports.ReportAllOutputCells And reports.PerformPrecedentScan And reports.RemoveAutoVarysAtEndOfRun And reports.PauseOnError And reports.UpdateDisplay And reports.OnlyOrdvaneing And reports.SingleWorkbookAllResults, True
Check "the numbers", reports.PrecedentScanType + reports.DefaultDistForRange + reports.DefaultRangeType + reports.DefaultStepsPerInput + reports.DefaultMultiStepsPerInput + reports.DefaultMultiGroupSize + reports.NumberOfRuns, 21
' Every other setting.
reports.ReportOutputCellsSubsetList = "B2:B9"
reports.DefaultMinChange = -0.1
reports.DefaultMaxChange = 0.1
reports.MaxInputsPerGraph = 20
reports.OnlyInputsOverThreshold = False
reports.InputsChangeThreshold = 0
reports.OutputsAsPercentChange = False
reports.ReportsInExistingWorkbookName = "Active Workbook"
reports.ReportsInExistingWorkbook = False
reports.OverwriteExisting = False
reports.SummaryReport = False
reports.IncludeBaseline = True
reports.BarColor = &H993333
reports.BaselineColor = &H993333

reports.Initialize standIn.Application, 1
Check "the watermark after Initialize", reports.WatermarkText, ""
reports.WatermarkText = "Draft" & vbCrLf & "not for release"
Check "its second part", reports.WatermarkTextSecondary, "not for release"
For i = 1 To 6
  selected(i) = i - 1
Next
Check "the reports", reports.GenerateReports(selected), 0
reports.Terminate
Set reports = Nothing
Check "objects of Excel left", standIn.LiveObjects, 0

Set file = CreateObject("Scripting.FileSystemObject").CreateTextFile(WScript.Arguments(1), True, True)
file.Write standIn.Snapshot
file.Close
WScript.Echo "done"
