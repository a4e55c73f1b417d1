// OpenJDK as a peer: class loaders, and its own compiler, which runs in the process.

import static java.nio.charset.StandardCharsets.ISO_8859_1;

import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.stream.IntStream;
import javax.tools.JavaCompiler;
import javax.tools.StandardJavaFileManager;
import javax.tools.StandardLocation;
import javax.tools.ToolProvider;

public class OpenJdkJobs {
  // The compiler is Java itself, and needs hundreds of runs until it is compiled to machine code.
  static final int WARM_UP_LOADS = 500;
  static final int MEASURED_LOADS = 101;
  static final int ALL_LOADS = WARM_UP_LOADS + MEASURED_LOADS;

  interface Job {
    void run(int number) throws Exception;
  }

  static void require(boolean isTrue) {
    if (!isTrue) throw new IllegalStateException("a job returned a wrong result");
  }

  /** Prints a median, with how many types are loaded, unless that is 0. No text needs escapes in JSON. */
  static void report(String job, String what, int types, double[] nanoseconds) {
    Arrays.sort(nanoseconds);
    String loaded = types == 0 ? "" : "\"types\":" + types + ",";
    System.out.printf(
        Locale.ROOT,
        "{\"job\":\"%s\",\"peer\":\"OpenJDK\",\"version\":\"%s\",\"what\":\"%s\",%s\"nanoseconds\":%.1f,\"runs\":%d}%n",
        job, System.getProperty("java.version"), what, loaded, nanoseconds[nanoseconds.length / 2], nanoseconds.length);
  }

  static double timeAll(Job job, int calls) throws Exception {
    long begin = System.nanoTime();
    for (int i = 0; i < calls; ++i) job.run(i);
    return (double) (System.nanoTime() - begin) / calls;
  }

  /** Measures many times what one of many calls takes. */
  static double[] timeCalls(Job job) throws Exception {
    final int calls = 1000;
    long warm = System.nanoTime() + 500_000_000;
    while (System.nanoTime() < warm) timeAll(job, calls);
    double[] times = new double[101];
    for (int i = 0; i < times.length; ++i) times[i] = timeAll(job, calls);
    return times;
  }

  static double[] timeLoads(Job load) throws Exception {
    double[] times = new double[ALL_LOADS];
    for (int i = 0; i < ALL_LOADS; ++i) {
      long begin = System.nanoTime();
      load.run(i);
      times[i] = System.nanoTime() - begin;
    }
    return Arrays.copyOfRange(times, WARM_UP_LOADS, ALL_LOADS);
  }

  /** Compiles files into one folder, and keeps everything that a later compilation can reuse. */
  static class Compiler {
    final JavaCompiler compiler = ToolProvider.getSystemJavaCompiler();
    final StandardJavaFileManager files = compiler.getStandardFileManager(null, null, null);

    Compiler(Path out) throws Exception {
      Files.createDirectories(out);
      files.setLocationFromPaths(StandardLocation.CLASS_OUTPUT, List.of(out));
      files.setLocationFromPaths(StandardLocation.CLASS_PATH, List.of());
    }

    void compile(Path... sources) {
      var units = files.getJavaFileObjects(sources);
      require(compiler.getTask(null, files, null, List.of("-proc:none"), null, units).call());
    }
  }

  /** Has types that are copies of one class under names of the same length. */
  static class MadeTypes extends ClassLoader {
    static String nameOf(int number) {
      return String.format("Type%06d", number);
    }

    MadeTypes(byte[] first, int types) {
      String template = new String(first, ISO_8859_1);
      for (int i = 0; i < types; ++i) {
        byte[] bytes = template.replace(nameOf(0), nameOf(i)).getBytes(ISO_8859_1);
        resolveClass(defineClass("peers." + nameOf(i), bytes, 0, bytes.length));
      }
    }
  }

  static byte[] makeFirstType(Path folder) throws Exception {
    Path source = folder.resolve("Type000000.java");
    Files.writeString(source, "package peers; public class Type000000 { }\n");
    new Compiler(folder).compile(source);
    return Files.readAllBytes(folder.resolve("peers/Type000000.class"));
  }

  static boolean isFound(String name, ClassLoader loader) {
    try {
      Class.forName(name, true, loader);
      return true;
    } catch (ClassNotFoundException notFound) {
      return false;
    }
  }

  static void findTypes(byte[] first, int types) throws Exception {
    ClassLoader loader = new MadeTypes(first, types);
    String[] known = IntStream.range(0, Math.min(types, 256))
        .mapToObj(i -> "peers." + MadeTypes.nameOf((int) ((long) i * types / Math.min(types, 256))))
        .toArray(String[]::new);
    String[] unknown = Arrays.stream(known).map(name -> name.replace("Type", "Some")).toArray(String[]::new);
    report("find_loaded", "Class.forName of a loaded class", types,
        timeCalls(i -> require(isFound(known[i % known.length], loader))));
    report("find_missing", "Class.forName that fails, with one folder on the class path", types,
        timeCalls(i -> require(!isFound(unknown[i % unknown.length], loader))));
  }

  static Path writeSource(Path folder, int number) throws Exception {
    String name = "Module" + number;
    return Files.writeString(folder.resolve(name + ".java"), String.join("\n",
        "package peers;",
        "public class " + name + " {",
        "  public static int number() { return " + number + "; }",
        "  public static String name() { return \"" + name + "\"; }",
        "  public static int sum(int a, int b) { return a + b; }",
        "  public static String greet(String who) { return \"Hello, \" + who; }",
        "  public static boolean isSame(int a, int b) { return a == b; }",
        "}", ""));
  }

  static Path[] writeSources(Path folder) throws Exception {
    Files.createDirectories(folder);
    Path[] sources = new Path[ALL_LOADS];
    for (int i = 0; i < ALL_LOADS; ++i) sources[i] = writeSource(folder, i);
    return sources;
  }

  static void load(int number, ClassLoader loader) throws Exception {
    Class<?> loaded = Class.forName("peers.Module" + number, true, loader);
    require((int) loaded.getMethod("number").invoke(null) == number);
  }

  static void loadSources(Path folder) throws Exception {
    Path[] sources = writeSources(folder);
    Path out = folder.resolve("out");
    Compiler compiler = new Compiler(out);
    try (var loader = new URLClassLoader(new URL[] {out.toUri().toURL()})) {
      report("load_source",
          "javax.tools in the process, after " + WARM_UP_LOADS + " runs, then Class.forName and a call", 0,
          timeLoads(i -> {
            compiler.compile(sources[i]);
            load(i, loader);
          }));
    }
  }

  static void loadCompiled(Path folder) throws Exception {
    new Compiler(folder).compile(writeSources(folder));
    try (var loader = new URLClassLoader(new URL[] {folder.toUri().toURL()})) {
      report("load_compiled",
          "URLClassLoader, after " + WARM_UP_LOADS + " runs: Class.forName of a class file, and a call", 0,
          timeLoads(i -> load(i, loader)));
    }
  }

  public static void main(String[] arguments) throws Exception {
    Path folder = Path.of(arguments[0]);
    loadSources(folder.resolve("sources"));
    loadCompiled(folder.resolve("compiled"));
    byte[] first = makeFirstType(folder);
    for (int types : new int[] {10, 1000, 10000}) findTypes(first, types);
  }
}
