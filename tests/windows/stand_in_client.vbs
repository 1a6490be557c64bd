' A script's view of the stand-in for Excel: cscript stand_in_client.vbs RUN.run.json
' Prints what is wrong, one line each, and "done" at the end.
Option Explicit

Sub Check(what, found, expected)
  If found <> expected Then WScript.Echo what & ": " & found & " instead of " & expected
End Sub

Dim standIn, excel, book, sheet, chart, series, modelBook, found
Set standIn = CreateObject("OrdvaneTest.ExcelStandIn")
standIn.Open WScript.Arguments(0)
Set excel = standIn.Application
modelBook = excel.ActiveWorkbook.Name
Check "a workbook by its name", excel.Workbooks(modelBook).Worksheets(1).Parent.Name, modelBook

Set book = excel.Workbooks.Add(-4167)
Set sheet = book.Worksheets(1)
Check "one sheet", book.Worksheets.Count, 1
sheet.Name = "Script"
sheet.Range("B2:C3").Value = 4
sheet.Cells(2, 2).Value = "'007"
Check "a marked text", sheet.Range("B2").Value, "007"
sheet.Range("B5").Formula = "=SUM(B2:C3)"
Check "a formula", sheet.Range("B5").Value2, 12
Check "an address", sheet.Range("B2").Offset(1, 1).Resize(2, 2).Address(False, False), "C3:D4"
Check "a default argument", sheet.Range("B2").Address, "$B$2"
sheet.Range("A1:B1").Font.Bold = True
sheet.Range("A1:B1").Borders(9).LineStyle = 1

Set chart = sheet.ChartObjects.Add(10, 20, 300, 200).Chart
chart.ChartType = 74
Set series = chart.SeriesCollection.NewSeries
series.Name = "Values"
series.Values = sheet.Range("B2:B3")
series.Points(2).ApplyDataLabels 2, False
chart.HasTitle = True
chart.ChartTitle.Text = "From a script"
chart.HasAxis(2, 1) = False
Check "a chart's series", chart.SeriesCollection(1).Points(2).DataLabel Is Nothing, False

On Error Resume Next
sheet.Range("no cell").Value = 1
Check "a refused call", Err.Number, 1004
Err.Clear
sheet.Range("B2").NoSuchMember
Check "an unknown member", Err.Number, 438
Err.Clear
found = book.Worksheets("nowhere").Name
Check "a missing sheet", Err.Number, 9
Err.Clear
standIn.FailAt = standIn.Calls + 4
sheet.Name = "Failed"
Check "a call that fails when told to", Err.Number, 1004
Err.Clear
On Error GoTo 0

Check "the snapshot's title", InStr(standIn.Snapshot(book.Name), "From a script") > 0, True
Check "the snapshot's sheet", InStr(standIn.Snapshot, "== Script") > 0, True
Check "the looks", InStr(standIn.Looks, "series Values") > 0, True
Set series = Nothing
Set chart = Nothing
Set sheet = Nothing
Set book = Nothing
Set excel = Nothing
Check "objects left", standIn.LiveObjects, 0
WScript.Echo "done"
