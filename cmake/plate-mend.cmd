@rem Opens the window of plate-mend in your browser, as a double click on bin\plate-mend.exe does.
@"%~dp0bin\plate-mend.exe" open
