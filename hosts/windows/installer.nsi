; The installer of the command, the libraries and their headers. script/windows calls makensis with
; STAGE, the folder of what is installed, MACHINE and OUTPUT. Silent: setup.exe /S /D=FOLDER
Unicode true
Name "Vorin"
OutFile "${OUTPUT}"
!if "${MACHINE}" == "i686"
  InstallDir "$PROGRAMFILES32\Vorin"
!else
  InstallDir "$PROGRAMFILES64\Vorin"
!endif
RequestExecutionLevel admin
SetCompressor /SOLID lzma
ShowInstDetails nevershow

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

!define KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Vorin"

Section
  SetOutPath "$INSTDIR"
  File /r "${STAGE}\*"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  ; PATH stays as it is: a console that has the command on it is in the start menu instead.
  CreateDirectory "$SMPROGRAMS\Vorin"
  CreateShortcut "$SMPROGRAMS\Vorin\Vorin console.lnk" "$SYSDIR\cmd.exe" \
    '/k "set PATH=$INSTDIR\bin;%PATH%"'
  WriteRegStr HKLM "${KEY}" "DisplayName" "Vorin"
  WriteRegStr HKLM "${KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${KEY}" "InstallLocation" "$INSTDIR"
SectionEnd

Section Uninstall
  RMDir /r "$INSTDIR\bin"
  RMDir /r "$INSTDIR\include"
  RMDir /r "$INSTDIR\lib"
  RMDir /r "$INSTDIR\examples"
  RMDir /r "$INSTDIR\doc"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  RMDir /r "$SMPROGRAMS\Vorin"
  DeleteRegKey HKLM "${KEY}"
SectionEnd
