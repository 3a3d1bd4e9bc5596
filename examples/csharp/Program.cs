using System;
using System.IO;

namespace PlateMendExample;

/// <summary>dotnet run DAMAGED SAMPLE OUTPUT</summary>
internal static class Program
{
    private static int Main(string[] arguments)
    {
        if (arguments.Length != 3)
        {
            Console.Error.WriteLine("usage: HostInCSharp DAMAGED SAMPLE OUTPUT");
            return 64;
        }
        string damaged = Path.GetFullPath(arguments[0]);
        string sample = Path.GetFullPath(arguments[1]);
        string output = Path.GetFullPath(arguments[2]);

        // Warning: the library first deletes whatever is at the output path, a folder with all its contents.
        if (Directory.Exists(output) || File.Exists(output))
        {
            Console.Error.WriteLine($"{output}: exists already");
            return 1;
        }
        string folder = Directory.CreateTempSubdirectory("plate-mend-").FullName;
        try
        {
            // No log: an open log file would keep the folder from being deleted.
            string noLog = Path.Combine(folder, "none");
            int started = PlateMend.MndRawInit(noLog, folder, folder);
            if (started != PlateMend.Ok && started != PlateMend.LogFailed)
            {
                return 1;
            }
            int code = PlateMend.MndRawAdvanceRepair(damaged, sample, output);
            Console.WriteLine($"{damaged}: {PlateMend.Meaning(code)} (code {code})");
            if (code != PlateMend.Ok)
            {
                return 1;
            }
            // 0 means that the steps were carried out, not that the picture decodes.
            if (PlateMend.CheckRawFile(output) != PlateMend.Ok)
            {
                Console.Error.WriteLine($"{output}: written, but LibRaw does not open it");
                return 1;
            }
            return 0;
        }
        finally
        {
            PlateMend.MndRawDestroy();
            Directory.Delete(folder, recursive: true);
        }
    }
}
