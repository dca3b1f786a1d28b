// Evidence records by BouncyCastle: judges those that it is told of, and makes some of each kind.
//
//   java Records.java check          reads lines "record TAB data TAB data ...", answers "ok" or why not
//   java Records.java make URL DIR   writes DIR/KIND.ers and DIR/KIND.data (of a group KIND.data.0 and so on)

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.net.HttpURLConnection;
import java.net.URL;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.SecureRandom;
import java.math.BigInteger;
import java.util.ArrayList;
import java.util.Date;
import java.util.List;
import org.bouncycastle.asn1.nist.NISTObjectIdentifiers;
import org.bouncycastle.asn1.x509.AlgorithmIdentifier;
import org.bouncycastle.cms.jcajce.JcaSimpleSignerInfoVerifierBuilder;
import org.bouncycastle.operator.DigestCalculator;
import org.bouncycastle.operator.DigestCalculatorProvider;
import org.bouncycastle.operator.jcajce.JcaDigestCalculatorProviderBuilder;
import org.bouncycastle.tsp.TimeStampRequest;
import org.bouncycastle.tsp.TimeStampRequestGenerator;
import org.bouncycastle.tsp.TimeStampResponse;
import org.bouncycastle.tsp.ers.ERSArchiveTimeStampGenerator;
import org.bouncycastle.tsp.ers.ERSByteData;
import org.bouncycastle.tsp.ers.ERSData;
import org.bouncycastle.tsp.ers.ERSDataGroup;
import org.bouncycastle.tsp.ers.ERSEvidenceRecord;
import org.bouncycastle.tsp.ers.ERSEvidenceRecordGenerator;

public class Records {
    static final DigestCalculatorProvider DIGESTS;
    static {
        try {
            DIGESTS = new JcaDigestCalculatorProviderBuilder().build();
        } catch (Exception problem) {
            throw new RuntimeException(problem);
        }
    }

    static String url;

    static DigestCalculator sha(boolean wide) throws Exception {
        return DIGESTS.get(new AlgorithmIdentifier(wide ? NISTObjectIdentifiers.id_sha512
                                                        : NISTObjectIdentifiers.id_sha256));
    }

    static ERSData data(List<byte[]> parts) {
        if (parts.size() == 1) {
            return new ERSByteData(parts.get(0));
        }
        List<ERSData> members = new ArrayList<>();
        for (byte[] part : parts) {
            members.add(new ERSByteData(part));
        }
        return new ERSDataGroup(members);
    }

    static void judge(byte[] encoded, ERSData data) throws Exception {
        ERSEvidenceRecord record = new ERSEvidenceRecord(encoded, DIGESTS);
        record.validatePresent(data, new Date());
        record.validate(new JcaSimpleSignerInfoVerifierBuilder().build(record.getSigningCertificate()));
    }

    static void check() throws Exception {
        BufferedReader lines = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
        for (String line = lines.readLine(); line != null; line = lines.readLine()) {
            String[] names = line.split("\t");
            List<byte[]> parts = new ArrayList<>();
            for (int i = 1; i < names.length; ++i) {
                parts.add(Files.readAllBytes(Path.of(names[i])));
            }
            try {
                judge(Files.readAllBytes(Path.of(names[0])), data(parts));
                System.out.println("ok");
            } catch (Exception refusal) {
                System.out.println(refusal.getMessage());
            }
        }
    }

    static TimeStampResponse ask(TimeStampRequest request) throws Exception {
        HttpURLConnection connection = (HttpURLConnection) new URL(url).openConnection();
        connection.setDoOutput(true);
        connection.setRequestProperty("Content-Type", "application/timestamp-query");
        connection.getOutputStream().write(request.getEncoded());
        TimeStampResponse response = new TimeStampResponse(connection.getInputStream());
        response.validate(request);
        return response;
    }

    static TimeStampRequestGenerator requests() {
        TimeStampRequestGenerator generator = new TimeStampRequestGenerator();
        generator.setCertReq(true);
        return generator;
    }

    static BigInteger nonce() {
        return new BigInteger(64, new SecureRandom());
    }

    static ERSEvidenceRecord renew(ERSEvidenceRecord record) throws Exception {
        return record.renewTimeStamp(ask(record.generateTimeStampRenewalRequest(requests(), nonce())));
    }

    static ERSEvidenceRecord rehash(ERSEvidenceRecord record, ERSData data) throws Exception {
        return record.renewHash(sha(true), data,
                ask(record.generateHashRenewalRequest(sha(true), data, requests(), nonce())));
    }

    static void make(Path folder) throws Exception {
        String[] kinds = {"plain", "group", "renewed_once", "renewed_twice", "rehashed", "rehashed_renewed",
                          "group_rehashed"};
        ERSArchiveTimeStampGenerator tree = new ERSArchiveTimeStampGenerator(sha(false));
        List<List<byte[]>> parts = new ArrayList<>();
        for (String kind : kinds) {
            List<byte[]> own = new ArrayList<>();
            for (int i = 0; i < (kind.startsWith("group") ? 3 : 1); ++i) {
                own.add((kind + i).getBytes(StandardCharsets.UTF_8));
            }
            parts.add(own);
            tree.addData(data(own));
        }
        TimeStampResponse response = ask(tree.generateTimeStampRequest(requests(), nonce()));
        List<ERSEvidenceRecord> records =
                new ERSEvidenceRecordGenerator(DIGESTS).generate(tree.generateArchiveTimeStamps(response));
        for (int i = 0; i < kinds.length; ++i) {
            // They come in the order of their hashes.
            ERSEvidenceRecord record = null;
            for (ERSEvidenceRecord one : records) {
                if (one.isContaining(data(parts.get(i)), new Date())) {
                    record = one;
                }
            }
            if (kinds[i].contains("rehashed")) {
                record = rehash(record, data(parts.get(i)));
            }
            for (int k = kinds[i].endsWith("twice") ? 2 : kinds[i].contains("renewed") ? 1 : 0; k > 0; --k) {
                record = renew(record);
            }
            Files.write(folder.resolve(kinds[i] + ".ers"), record.getEncoded());
            for (int k = 0; k < parts.get(i).size(); ++k) {
                String end = parts.get(i).size() == 1 ? "" : "." + k;
                Files.write(folder.resolve(kinds[i] + ".data" + end), parts.get(i).get(k));
            }
        }
    }

    public static void main(String[] arguments) throws Exception {
        if (arguments[0].equals("check")) {
            check();
        } else {
            url = arguments[1];
            make(Path.of(arguments[2]));
        }
    }
}
