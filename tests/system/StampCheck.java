// Checks a token or a signature with stamps by BouncyCastle, for extend.py. The arguments are "token" or "signature", the
// DER file, and for a detached signature the data. Prints what it found; any doubt is an exception.
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.MessageDigest;
import java.util.Arrays;

import org.bouncycastle.asn1.ASN1ObjectIdentifier;
import org.bouncycastle.asn1.cms.Attribute;
import org.bouncycastle.asn1.cms.AttributeTable;
import org.bouncycastle.asn1.pkcs.PKCSObjectIdentifiers;
import org.bouncycastle.cert.X509CertificateHolder;
import org.bouncycastle.cms.CMSProcessableByteArray;
import org.bouncycastle.cms.CMSSignedData;
import org.bouncycastle.cms.SignerId;
import org.bouncycastle.cms.SignerInformation;
import org.bouncycastle.cms.jcajce.JcaSimpleSignerInfoVerifierBuilder;
import org.bouncycastle.tsp.TimeStampToken;
import org.bouncycastle.util.Store;

public class StampCheck {
    static X509CertificateHolder signerOf(Store<X509CertificateHolder> certificates, SignerId signer) {
        return (X509CertificateHolder) certificates.getMatches(signer).iterator().next();
    }

    static TimeStampToken checkToken(CMSSignedData message) throws Exception {
        TimeStampToken token = new TimeStampToken(message);
        token.validate(new JcaSimpleSignerInfoVerifierBuilder().build(signerOf(token.getCertificates(), token.getSID())));
        return token;
    }

    static int checkStamps(SignerInformation signer, ASN1ObjectIdentifier type) throws Exception {
        AttributeTable attributes = signer.getUnsignedAttributes();
        int count = 0;
        if (attributes == null) {
            return 0;
        }
        for (int i = 0; i < attributes.getAll(type).size(); ++i) {
            Attribute attribute = (Attribute) attributes.getAll(type).get(i);
            TimeStampToken token =
                checkToken(new CMSSignedData(attribute.getAttrValues().getObjectAt(0).toASN1Primitive().getEncoded()));
            byte[] hash = MessageDigest.getInstance("SHA-256").digest(signer.getSignature());
            if (!Arrays.equals(hash, token.getTimeStampInfo().getMessageImprintDigest())) {
                throw new IllegalStateException("the stamp is over something else");
            }
            ++count;
        }
        return count;
    }

    public static void main(String[] arguments) throws Exception {
        byte[] der = Files.readAllBytes(Path.of(arguments[1]));
        if (arguments[0].equals("token")) {
            TimeStampToken token = checkToken(new CMSSignedData(der));
            System.out.println("token " + token.getCRLs().getMatches(null).size() + " lists, "
                               + token.getCertificates().getMatches(null).size() + " certificates");
            return;
        }
        CMSSignedData message = arguments.length < 3
            ? new CMSSignedData(der)
            : new CMSSignedData(new CMSProcessableByteArray(Files.readAllBytes(Path.of(arguments[2]))), der);
        int stamps = 0;
        for (SignerInformation signer : message.getSignerInfos().getSigners()) {
            X509CertificateHolder certificate = signerOf(message.getCertificates(), signer.getSID());
            if (!signer.verify(new JcaSimpleSignerInfoVerifierBuilder().build(certificate))) {
                throw new IllegalStateException("the signature doesn't fit");
            }
            stamps += checkStamps(signer, PKCSObjectIdentifiers.id_aa_signatureTimeStampToken);
            stamps += checkStamps(signer, new ASN1ObjectIdentifier("1.3.6.1.4.1.311.3.3.1"));
        }
        System.out.println("signature with " + stamps + " stamps");
    }
}
