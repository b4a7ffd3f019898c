; SPDX-License-Identifier: Apache-2.0
; The installer of the Windows program. scripts/windows/installer lays out what
; goes in and defines
;   VERSION   1.2.3
;   STAGE     the folder that is installed
;   FILES     a list of commands that removes just these files again
;   LIST      the name of the file in STAGE that lists them, in UTF-16
;   SAMPLES   a folder of sample packages
;   SIGN      a command that signs programs, or does nothing
;   OUT       the installer to make
; A silent installation is "/S", for the user alone with "/CurrentUser", for all
; with "/AllUsers"; "/D=FOLDER" comes last, without quotes. It ends with 2 when it
; cannot be done, with 3 when only the rights of the exams folder cannot be set. A
; silent removal is "uninstall.exe /S", which leaves the exams alone unless told
; "/EXAMS".
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
ManifestDPIAware true
ManifestSupportedOS Win10

!define NAME "Practorium"
!define EXE "practorium.exe"
; Where the program looks for exams, wherever it is installed itself.
!define EXAMS "$PROGRAMFILES64\Practorium\Exams"
!define APPS_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Practorium"
!define TYPE "Practorium.Exam"
; What the program remembers of a user, the password for downloads among it.
!define SETTINGS_KEY "Software\Practorum\PackCourier"

!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_MUI
!define MULTIUSER_USE_PROGRAMFILES64
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_INSTALLMODE_INSTDIR "${NAME}"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_KEY "${APPS_KEY}"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_VALUENAME "InstallLocation"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_KEY "${APPS_KEY}"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_VALUENAME "InstallLocation"
!define MULTIUSER_INSTALLMODE_FUNCTION UseGivenFolder
!include MultiUser.nsh
!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include TextFunc.nsh
!include WinVer.nsh

Name "${NAME}"
OutFile "${OUT}"
!uninstfinalize '"${SIGN}" "%1"'
BrandingText "${NAME} ${VERSION}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "${NAME}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "Installs ${NAME}"
VIAddVersionKey CompanyName "${NAME}"
VIAddVersionKey LegalCopyright "Apache License 2.0"

!define MUI_ICON "${STAGE}\practorium.ico"
!define MUI_UNICON "${STAGE}\practorium.ico"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_FUNCTION StartProgram
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_COMPONENTS
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; Whether a program is running: then its file cannot be opened for writing.
!macro StopIfRunning PROGRAM FILE
    ${If} ${FileExists} "$INSTDIR\${FILE}"
        ClearErrors
        FileOpen $0 "$INSTDIR\${FILE}" a
        ${If} ${Errors}
            MessageBox MB_OK|MB_ICONEXCLAMATION "${PROGRAM} is running, or its files cannot be written. Close it and start again." /SD IDOK
            SetErrorLevel 2
            Abort
        ${EndIf}
        FileClose $0
    ${EndIf}
!macroend

; The folder of "/D=", empty without it. It holds whichever mode is chosen.
Var GivenFolder
Function UseGivenFolder
    ${If} $GivenFolder != ""
        StrCpy $INSTDIR $GivenFolder
    ${EndIf}
FunctionEnd

; By the desktop, with its user's own rights: the installer may have an
; administrator's.
Function StartProgram
    Exec '"$WINDIR\explorer.exe" "$SMPROGRAMS\${NAME}.lnk"'
FunctionEnd

; Whoever may use this machine may install exams: packs run with the rights of
; the user who runs them. The folder itself only takes new folders, so that
; nobody can remove it or make a link of it; what is inside may be changed. Two
; groups, in every language, because the rights of one might be joined: users
; (S-1-5-32-545) and whoever has logged in (S-1-5-11).
Function MakeExamsFolder
    CreateDirectory "${EXAMS}"
    nsExec::Exec '"$SYSDIR\icacls.exe" "${EXAMS}" /grant *S-1-5-32-545:(S,RC,RD,REA,X,RA,AD) *S-1-5-11:(OI)(CI)(IO)M'
    Pop $0
    ${If} $0 != 0
        MessageBox MB_OK|MB_ICONEXCLAMATION "The rights of ${EXAMS} cannot be set. Only administrators may be able to install exams." /SD IDOK
        SetErrorLevel 3
    ${EndIf}
FunctionEnd

; Sets the error flag when no exam can come into the exams folder.
Function TryExamsFolder
    ClearErrors
    ${IfNot} ${FileExists} "${EXAMS}\*.*"
        SetErrors
        Return
    ${EndIf}
    CreateDirectory "${EXAMS}\.practorium-setup"
    ${IfNot} ${Errors}
        RMDir "${EXAMS}\.practorium-setup"
    ${EndIf}
FunctionEnd

Function .onInit
    StrCpy $GivenFolder $INSTDIR
    ${IfNot} ${AtLeastWin10}
        MessageBox MB_OKCANCEL|MB_ICONEXCLAMATION "${NAME} is made for Windows 10 or later and may not run here." /SD IDOK IDOK +3
        SetErrorLevel 2
        Quit
    ${EndIf}
    SetRegView 64
    ; The part that needs an administrator when the rest is for a user alone.
    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "/ExamsFolder" $1
    ${IfNot} ${Errors}
        Call MakeExamsFolder
        Quit
    ${EndIf}
    !insertmacro MULTIUSER_INIT
FunctionEnd

; Removes the files that the list of an installed version names, one on each line as a
; path in the folder.
Function RemoveOldFiles
    Push $0
    Push $1
    ClearErrors
    FileOpen $0 "$INSTDIR\${LIST}" r
    ${IfNot} ${Errors}
        ${Do}
            ClearErrors
            FileReadUTF16LE $0 $1
            ${If} ${Errors}
                ${ExitDo}
            ${EndIf}
            ${TrimNewLines} $1 $1
            Delete "$INSTDIR\$1"
        ${Loop}
        FileClose $0
    ${EndIf}
    ClearErrors
    Pop $1
    Pop $0
FunctionEnd

Section "${NAME}" SectionProgram
    SectionIn RO
    !insertmacro StopIfRunning "${NAME}" "${EXE}"
    !insertmacro StopIfRunning "practorium-author" "practorium-author.exe"
    !insertmacro StopIfRunning "practorium-install" "practorium-install.exe"
    ; What the version before had and this one has no longer.
    Call RemoveOldFiles
    SetOutPath "$INSTDIR"
    SetOverwrite on
    File /r "${STAGE}/*"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    ; The program writes into the folder that it starts in, which is this one.
    StrCpy $OUTDIR "%TEMP%"
    CreateShortCut "$SMPROGRAMS\${NAME}.lnk" "$INSTDIR\${EXE}"
    SetOutPath "$INSTDIR"

    WriteRegStr SHCTX "Software\Classes\${TYPE}" "" "Practice exam"
    WriteRegStr SHCTX "Software\Classes\${TYPE}\DefaultIcon" "" '"$INSTDIR\exam.ico"'
    WriteRegStr SHCTX "Software\Classes\${TYPE}\shell\open" "" "&Install"
    WriteRegStr SHCTX "Software\Classes\${TYPE}\shell\open\command" "" '"$INSTDIR\practorium-install.exe" "%1"'
    ; Another program's type stays.
    ReadRegStr $0 SHCTX "Software\Classes\.exam" ""
    ${If} $0 == ""
        WriteRegStr SHCTX "Software\Classes\.exam" "" "${TYPE}"
    ${EndIf}

    ; Of the program: exams may lie inside its folder.
    SectionGetSize ${SectionProgram} $0
    IntFmt $0 "0x%08X" $0
    WriteRegStr SHCTX "${APPS_KEY}" "DisplayName" "${NAME}"
    WriteRegStr SHCTX "${APPS_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr SHCTX "${APPS_KEY}" "DisplayIcon" "$INSTDIR\${EXE}"
    WriteRegStr SHCTX "${APPS_KEY}" "Publisher" "${NAME}"
    WriteRegStr SHCTX "${APPS_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr SHCTX "${APPS_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode'
    WriteRegStr SHCTX "${APPS_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode /S'
    WriteRegDWORD SHCTX "${APPS_KEY}" "EstimatedSize" $0
    WriteRegDWORD SHCTX "${APPS_KEY}" "NoModify" 1
    WriteRegDWORD SHCTX "${APPS_KEY}" "NoRepair" 1
    System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'

    ; Exams are everybody's. Who is no administrator cannot make their folder, and
    ; what an administrator can do in it says nothing about the others.
    ${If} $MultiUser.Privileges == "Admin"
        Call MakeExamsFolder
    ${Else}
        Call TryExamsFolder
        ${If} ${Errors}
            MessageBox MB_YESNO|MB_ICONQUESTION "Exams are kept in ${EXAMS}, which an administrator has to prepare once. Do that now?" /SD IDNO IDNO +2
            ExecShellWait "runas" "$EXEPATH" "/ExamsFolder"
        ${EndIf}
    ${EndIf}
SectionEnd

; Only for somebody who has no exams yet.
Section "Sample exams" SectionSamples
    FindFirst $0 $1 "${EXAMS}\*"
    ${Do}
        ${If} $1 != "."
        ${AndIf} $1 != ".."
            ${ExitDo}
        ${EndIf}
        FindNext $0 $1
    ${Loop}
    FindClose $0
    ${If} $1 == ""
        ClearErrors
        SetOutPath "${EXAMS}"
        ${IfNot} ${Errors}
            SetOverwrite try
            File /r "${SAMPLES}/*"
            SetOverwrite on
        ${EndIf}
        ClearErrors
        SetOutPath "$INSTDIR"
    ${EndIf}
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
    !insertmacro MUI_DESCRIPTION_TEXT ${SectionProgram} "The program, and the tool that makes exams."
    !insertmacro MUI_DESCRIPTION_TEXT ${SectionSamples} "Three exams to try it with, unless there are exams already."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; Removes the folder that was pushed, with everything in it. RMDir /r would go
; through links, which any user may leave there, and empty what they lead to. While
; a folder is open, with nobody allowed to write, no link can take its place.
Function un.RemoveFolder
    Exch $0
    Push $1
    Push $2
    Push $3
    Push $4
    ; FILE_LIST_DIRECTORY, FILE_SHARE_READ, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS
    ; and FILE_FLAG_OPEN_REPARSE_POINT
    System::Call 'kernel32::CreateFileW(w r0, i 1, i 1, p 0, i 3, i 0x02200000, p 0) p .r1'
    ${If} $1 P<> -1
        System::Call 'kernel32::GetFileAttributesW(w r0) i .r4'
        IntOp $4 $4 & 0x410
        ${If} $4 = 0x10
            FindFirst $2 $3 "$0\*"
            ${DoUntil} $3 == ""
                StrCpy $4 "$0\$3"
                System::Call 'kernel32::GetFileAttributesW(w r4) i .r4'
                IntOp $4 $4 & 0x10
                ${If} $4 = 0
                    SetFileAttributes "$0\$3" NORMAL
                    Delete "$0\$3"
                ${ElseIf} $3 != "."
                ${AndIf} $3 != ".."
                    Push "$0\$3"
                    Call un.RemoveFolder
                ${EndIf}
                FindNext $2 $3
            ${Loop}
            FindClose $2
        ${EndIf}
        System::Call 'kernel32::CloseHandle(p r1)'
    ${EndIf}
    SetFileAttributes "$0" NORMAL
    RMDir "$0"
    Pop $4
    Pop $3
    Pop $2
    Pop $1
    Pop $0
FunctionEnd

Section "un.${NAME}" SectionRemove
    SectionIn RO
    !insertmacro StopIfRunning "${NAME}" "${EXE}"
    !insertmacro StopIfRunning "practorium-author" "practorium-author.exe"
    !insertmacro StopIfRunning "practorium-install" "practorium-install.exe"
    SetOutPath "$TEMP"
    !include "${FILES}"
    Delete "$INSTDIR\uninstall.exe"
    Delete "$SMPROGRAMS\${NAME}.lnk"
    DeleteRegKey SHCTX "Software\Classes\${TYPE}"
    ReadRegStr $0 SHCTX "Software\Classes\.exam" ""
    ${If} $0 == "${TYPE}"
        DeleteRegValue SHCTX "Software\Classes\.exam" ""
        DeleteRegKey /ifempty SHCTX "Software\Classes\.exam"
    ${EndIf}
    DeleteRegKey SHCTX "${APPS_KEY}"
    DeleteRegValue HKCU "${SETTINGS_KEY}" "User ID"
    DeleteRegValue HKCU "${SETTINGS_KEY}" "Password"
    DeleteRegKey /ifempty HKCU "${SETTINGS_KEY}"
    DeleteRegKey /ifempty HKCU "Software\Practorum"
    System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
    RMDir "$INSTDIR"
SectionEnd

Section /o "un.Installed exams" SectionExams
    Push "${EXAMS}"
    Call un.RemoveFolder
    RMDir "$PROGRAMFILES64\Practorium"
    RMDir "$INSTDIR"
SectionEnd

Function un.onInit
    SetRegView 64
    !insertmacro MULTIUSER_UNINIT
    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "/EXAMS" $1
    ${IfNot} ${Errors}
        !insertmacro SelectSection ${SectionExams}
    ${EndIf}
FunctionEnd

!insertmacro MUI_UNFUNCTION_DESCRIPTION_BEGIN
    !insertmacro MUI_DESCRIPTION_TEXT ${SectionRemove} "The program, with what it remembers of you."
    !insertmacro MUI_DESCRIPTION_TEXT ${SectionExams} "All exams in ${EXAMS}, for everybody on this machine."
!insertmacro MUI_UNFUNCTION_DESCRIPTION_END
