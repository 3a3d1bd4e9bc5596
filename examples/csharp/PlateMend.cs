using System.Runtime.InteropServices;

namespace PlateMendExample;

/// <summary>
/// The five exports of lib_plate_mend.dll. Put it, lib_still_mend.dll and QuillLogSDK.dll into the folder of the
/// program, which must be 64-bit. Every function and code is documented in plate_mend/plate_mend.h.
/// </summary>
/// <remarks>
/// Strings are passed as UTF-8. The marshaller replaces what has no UTF-8 form (half a surrogate pair) by U+FFFD,
/// so the library never receives an ill-formed path. An exception of the library (for an old output that another
/// program holds open, or a path that cannot be examined) is a C++ exception, which .NET cannot catch reliably:
/// make sure that there is no output before the call, as Program.cs does, or repair in a separate process.
/// </remarks>
internal static partial class PlateMend
{
    private const string Library = "lib_plate_mend";

    public const int Ok = 0;
    public const int Unknown = -1;
    public const int LogFailed = -1020;

    [LibraryImport(Library, StringMarshalling = StringMarshalling.Utf8)]
    public static partial int MndRawInit(string logDirectory, string configDirectory, string workDirectory);

    [LibraryImport(Library)]
    public static partial void MndRawDestroy();

    [LibraryImport(Library, StringMarshalling = StringMarshalling.Utf8)]
    public static partial int MndRawGeneralRepair(string damagedFile, string outputFile);

    [LibraryImport(Library, StringMarshalling = StringMarshalling.Utf8)]
    public static partial int MndRawAdvanceRepair(string damagedFile, string sampleFile, string outputFile);

    [LibraryImport(Library, StringMarshalling = StringMarshalling.Utf8)]
    public static partial int CheckRawFile(string file);

    /// <summary>What a code of the advanced repair means, in a few words. Each format has a block.</summary>
    public static string Meaning(int code) => code switch
    {
        Ok => "repaired",
        Unknown => "no format is known for this extension",
        -1021 or -1050 or -1060 or -1090 or -1120 or -1130 or -1140 or -1150
            => "the damaged file or the sample does not exist",
        -1022 or -1051 or -1061 or -1121 or -1131 or -1141 or -1151
            => "the sample could not be copied to the work directory",
        -1122 or -1132 or -1142 or -1152
            => "a file is empty, may not be written, or is open in another program",
        -1026 or -1054 or -1065 or -1093 or -1125 or -1135 or -1146 or -1155
            => "the parts of the two files could not be joined",
        <= -1021 and >= -1156 => "the sample is not usable, or the damaged file has lost too much",
        _ => "unknown",
    };
}
