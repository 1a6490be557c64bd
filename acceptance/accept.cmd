@echo off
rem Checks Ordvane Results on this machine, with the Excel that is installed here, and writes results\report.html and
rem results\results.json. Asks nothing. Ends with 0 when all is well, 1 when something is not, 2 when it could not be tried.
rem   accept.cmd [--quick] [--only RUN] [--out FOLDER] [--engine FILE]
setlocal
set width=x86
if /i "%PROCESSOR_ARCHITECTURE%"=="AMD64" set width=x64
if /i "%PROCESSOR_ARCHITEW6432%"=="AMD64" set width=x64
set "program=%~dp0%width%\accept.exe"
if not exist "%program%" goto missing
"%program%" %*
exit /b %errorlevel%

:missing
echo accept: "%program%" is missing: unpack the whole zip first 1>&2
exit /b 2
