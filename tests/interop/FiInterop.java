// Independent check of kvxml16's Fast Infoset output with the Fast Infoset codec of Debian's
// libfastinfoset-java, used as a test peer only.
//
//   java FiInterop compare <manifest.tsv>
//       Each line: id, expectation ("pass" or "refuse:<why>"), .finf file, .xml file. Decodes the
//       .finf with the codec and the .xml with the JDK's parser and compares elements, attributes
//       and text in document order. Counts "pass" lines; reports the others apart.
//   java FiInterop encode <in.xml> <out.finf> [default|tables|literal|utf16]
//       Has the codec write a Fast Infoset document from XML text, with the options named.
import com.sun.xml.fastinfoset.sax.SAXDocumentParser;
import com.sun.xml.fastinfoset.sax.SAXDocumentSerializer;

import java.io.BufferedReader;
import java.io.FileInputStream;
import java.io.FileOutputStream;
import java.io.FileReader;
import java.io.InputStream;
import java.math.BigDecimal;
import java.util.ArrayList;
import java.util.List;

import javax.xml.parsers.SAXParser;
import javax.xml.parsers.SAXParserFactory;

import org.xml.sax.Attributes;
import org.xml.sax.helpers.DefaultHandler;

public class FiInterop {
    // The document as a list of events: "S {ns}local", "A {ns}local=value", "T text", "E".
    static final class Events extends DefaultHandler {
        final List<String> list = new ArrayList<>();
        private final StringBuilder text = new StringBuilder();

        private void flush() {
            if (text.length() > 0) list.add("T " + text);
            text.setLength(0);
        }

        @Override
        public void startElement(String uri, String local, String qName, Attributes atts) {
            flush();
            list.add("S {" + uri + "}" + local);
            for (int i = 0; i < atts.getLength(); i++) {
                if (atts.getQName(i).startsWith("xmlns")) continue;
                list.add("A {" + atts.getURI(i) + "}" + atts.getLocalName(i) + "=" + atts.getValue(i));
            }
        }

        @Override
        public void endElement(String uri, String local, String qName) {
            flush();
            list.add("E");
        }

        @Override
        public void characters(char[] ch, int start, int length) {
            text.append(ch, start, length);
        }
    }

    static List<String> parseXml(String path) throws Exception {
        SAXParserFactory factory = SAXParserFactory.newInstance();
        factory.setNamespaceAware(true);
        SAXParser parser = factory.newSAXParser();
        Events events = new Events();
        try (InputStream in = new FileInputStream(path)) {
            parser.parse(in, events);
        }
        return events.list;
    }

    static List<String> parseFastInfoset(String path) throws Exception {
        SAXDocumentParser parser = new SAXDocumentParser();
        Events events = new Events();
        parser.setContentHandler(events);
        try (InputStream in = new FileInputStream(path)) {
            parser.parse(in);
        }
        return events.list;
    }

    // Typed encodings give a value back in the codec's own lexical form (1.0E10 for 10000000000,
    // lower-case hexadecimal): such values are compared as numbers or without case.
    static boolean sameValue(String a, String b) {
        if (a.equals(b) || a.equalsIgnoreCase(b)) return true;
        try {
            return new BigDecimal(a.trim()).compareTo(new BigDecimal(b.trim())) == 0;
        } catch (NumberFormatException e) {
            return false;
        }
    }

    static boolean sameEvent(String expected, String actual) {
        if (expected.equals(actual)) return true;
        if (expected.startsWith("T ") && actual.startsWith("T "))
            return sameValue(expected.substring(2), actual.substring(2));
        if (expected.startsWith("A ") && actual.startsWith("A ")) {
            int e = expected.indexOf('='), f = actual.indexOf('=');
            return expected.substring(0, e).equals(actual.substring(0, f))
                && sameValue(expected.substring(e + 1), actual.substring(f + 1));
        }
        return false;
    }

    // Null when equal, else where they part.
    static String difference(List<String> expected, List<String> actual) {
        int n = Math.min(expected.size(), actual.size());
        for (int i = 0; i < n; i++) {
            if (!sameEvent(expected.get(i), actual.get(i)))
                return "event " + i + ": expected [" + clip(expected.get(i)) + "] got [" + clip(actual.get(i)) + "]";
        }
        if (expected.size() != actual.size())
            return "expected " + expected.size() + " events, got " + actual.size();
        return null;
    }

    static String clip(String s) {
        return s.length() > 120 ? s.substring(0, 120) + "..." : s;
    }

    static int compare(String manifest) throws Exception {
        int passed = 0, failed = 0;
        List<String> apart = new ArrayList<>();
        String cachedXml = null;
        List<String> expected = null;
        try (BufferedReader r = new BufferedReader(new FileReader(manifest))) {
            String line;
            while ((line = r.readLine()) != null) {
                String[] f = line.split("\t");
                if (f.length < 4) continue;
                String id = f[0], expectation = f[1], finf = f[2], xml = f[3];
                if (!xml.equals(cachedXml)) {
                    expected = null;  // let a large list go before the next is built
                    expected = parseXml(xml);
                    cachedXml = xml;
                }
                String outcome;
                try {
                    outcome = difference(expected, parseFastInfoset(finf));
                } catch (Exception e) {
                    outcome = "codec refused it: " + e;
                }
                if (expectation.equals("pass")) {
                    if (outcome == null) {
                        passed++;
                    } else {
                        failed++;
                        System.out.println("FAILED " + id + ": " + outcome);
                    }
                } else {
                    apart.add(id + " (" + expectation.substring("refuse:".length()) + "): "
                              + (outcome == null ? "taken and equal" : outcome));
                }
            }
        }
        if (!apart.isEmpty()) {
            System.out.println("Forms written on purpose that a reader may refuse (not counted):");
            for (String a : apart) System.out.println("  " + a);
        }
        System.out.println(passed + " passed, " + failed + " failed");
        return failed == 0 ? 0 : 1;
    }

    // The variant chooses among the codec's options: "default"; "tables", every value into the
    // tables; "literal", no value into them; "utf16", strings in UTF-16.
    static void encode(String in, String out, String variant) throws Exception {
        SAXParserFactory factory = SAXParserFactory.newInstance();
        factory.setNamespaceAware(true);
        SAXParser parser = factory.newSAXParser();
        try (InputStream input = new FileInputStream(in); FileOutputStream output = new FileOutputStream(out)) {
            SAXDocumentSerializer serializer = new SAXDocumentSerializer();
            switch (variant) {
            case "tables":
                serializer.setMaxCharacterContentChunkSize(Integer.MAX_VALUE);
                serializer.setMaxAttributeValueSize(Integer.MAX_VALUE);
                serializer.setCharacterContentChunkMapMemoryLimit(Integer.MAX_VALUE);
                serializer.setAttributeValueMapMemoryLimit(Integer.MAX_VALUE);
                break;
            case "literal":
                serializer.setMaxCharacterContentChunkSize(0);
                serializer.setMaxAttributeValueSize(0);
                break;
            case "utf16":
                serializer.setCharacterEncodingScheme("UTF-16BE");
                break;
            default:
                break;
            }
            serializer.setOutputStream(output);
            parser.setProperty("http://xml.org/sax/properties/lexical-handler", serializer);
            parser.parse(input, serializer);
        }
    }

    public static void main(String[] args) throws Exception {
        if (args.length == 2 && args[0].equals("compare")) {
            System.exit(compare(args[1]));
        } else if ((args.length == 3 || args.length == 4) && args[0].equals("encode")) {
            encode(args[1], args[2], args.length == 4 ? args[3] : "default");
        } else {
            System.err.println("usage: FiInterop compare <manifest> | encode <in.xml> <out.finf> [variant]");
            System.exit(2);
        }
    }
}
